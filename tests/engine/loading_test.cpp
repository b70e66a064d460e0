// Which shared libraries the engine has loaded when a text has been spoken: every one of them costs
// time at every announcement.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include "engine_process.h"
#include "sound.h"

using engine_test::EngineTest;
using engine_test::Eventually;
using engine_test::Process;
using engine_test::ReadSound;
using engine_test::Result;
using engine_test::WriteTone;
using testing::AllOf;
using testing::HasSubstr;
using testing::MatchesRegex;
using testing::Not;

namespace {

class LoadingTest : public EngineTest {
 protected:
  // The files that the engine has mapped into memory once the player has heard all of `text`.
  std::string MappedFiles(const std::string& text) {
    UseStubPlayer("cat > /dev/null; touch heard; exec sleep 60");
    const Process engine(EngineCommand({"--voice", "de", "--", text}), settings_);
    EXPECT_TRUE(Eventually([&] { return std::filesystem::exists(dir_.Sub("heard")); }));
    std::ifstream maps("/proc/" + std::to_string(engine.Id()) + "/maps");
    const std::string files{std::istreambuf_iterator<char>(maps), {}};
    EXPECT_THAT(files, HasSubstr("ka-espeak-ng"));
    engine.Signal(SIGTERM);
    return files;
  }

  // Saves a text with an audio file where the library of this name is no library.
  Result SaveWithBroken(const std::string& library, const engine_test::Tone& tone) {
    std::filesystem::create_directory(dir_.Sub("libraries"));
    dir_.Write("libraries/" + library, "this is no library");
    settings_.environment["LD_LIBRARY_PATH"] = dir_.Sub("libraries");
    const std::string gong = WriteTone(dir_.Sub("gong.wav"), tone);
    const std::string text = dir_.Write("text", "\\audio(play=" + gong + ") Achtung");
    return RunEngine({"--voice", "de", "--", text, "saved.wav"});
  }
};

TEST_F(LoadingTest, TextWithoutAudioFileLoadsNoLibraryForThem) {
  EXPECT_THAT(MappedFiles("Achtung \\pause(10) Zug"),
              AllOf(Not(HasSubstr("libsndfile")), Not(HasSubstr("libsamplerate"))));
}

TEST_F(LoadingTest, AudioFileOfTheOutputRateLoadsNoResampler) {
  const std::string gong = WriteTone(dir_.Sub("gong.wav"), {.seconds = 0.1});
  EXPECT_THAT(MappedFiles("\\audio(play=" + gong + ") Achtung"),
              AllOf(HasSubstr("libsndfile"), Not(HasSubstr("libsamplerate"))));
}

TEST_F(LoadingTest, AudioFileOfAnotherRateLoadsTheResamplerToo) {
  const std::string gong = WriteTone(dir_.Sub("gong.wav"), {.seconds = 0.1, .sampleRate = 44100});
  EXPECT_THAT(MappedFiles("\\audio(play=" + gong + ") Achtung"),
              AllOf(HasSubstr("libsndfile"), HasSubstr("libsamplerate")));
}

TEST_F(LoadingTest, NoSoundDeviceIsPreparedFor) {
#ifndef KA_ENGINE_WITH_STATIC_ESPEAK_NG
  GTEST_SKIP() << "the shared libespeak-ng brings libraries for sound devices along";
#endif
  EXPECT_THAT(
      MappedFiles("Achtung"),
      AllOf(Not(HasSubstr("libpcaudio")), Not(HasSubstr("libpulse")), Not(HasSubstr("libasound"))));
}

TEST_F(LoadingTest, BrokenLibraryForAudioFilesIsOnlyAWarning) {
  const Result result = SaveWithBroken("libsndfile.so.1", {});
  EXPECT_EQ(result.status, 0);
  EXPECT_THAT(result.err, MatchesRegex("ka-espeak-ng: warning: cannot play '.*/gong.wav': "
                                       ".*libsndfile.so.1: .*\n"));
  EXPECT_GT(ReadSound(dir_.Sub("saved.wav")).Seconds(), 0.3);
}

TEST_F(LoadingTest, BrokenResamplerIsOnlyAWarning) {
  const Result result = SaveWithBroken("libsamplerate.so.0", {.sampleRate = 44100});
  EXPECT_EQ(result.status, 0);
  EXPECT_THAT(result.err, MatchesRegex("ka-espeak-ng: warning: cannot play '.*/gong.wav': "
                                       ".*libsamplerate.so.0: .*\n"));
  EXPECT_GT(ReadSound(dir_.Sub("saved.wav")).Seconds(), 0.3);
}

TEST_F(LoadingTest, AudioFileOfTheOutputRateNeedsNoResampler) {
  const Result result = SaveWithBroken("libsamplerate.so.0", {.seconds = 5});
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.err, "");
  EXPECT_GT(ReadSound(dir_.Sub("saved.wav")).Seconds(), 5.3);
}

}  // namespace
