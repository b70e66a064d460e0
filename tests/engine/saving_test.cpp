// Saving: TEXTFILE WAVFILE.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sndfile.h>
#include <sys/stat.h>

#include <algorithm>
#include <atomic>
#include <csignal>
#include <filesystem>
#include <string>
#include <thread>

#include "engine_process.h"
#include "sound.h"

using engine_test::EngineTest;
using engine_test::Eventually;
using engine_test::Level;
using engine_test::Process;
using engine_test::ReadSound;
using engine_test::Result;
using engine_test::Sound;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::MatchesRegex;
using testing::StartsWith;

namespace {

namespace fs = std::filesystem;

class SavingTest : public EngineTest {
 protected:
  // Saves a text as Wav().
  Result Save(const std::string& text, const engine_test::Arguments& options = {}) {
    engine_test::Arguments arguments{"--voice", "de"};
    arguments.insert(arguments.end(), options.begin(), options.end());
    arguments.insert(arguments.end(), {"--", store_.Write("de0", text), Wav()});
    return RunEngine(arguments);
  }

  std::string Wav() const { return store_.Sub("de0.wav"); }
  std::vector<std::string> Store() const { return FilesIn(store_.Path()); }

  static std::string LongText() {
    std::string text;
    while (text.size() < 500000)
      text += "Der Zug nach Hamburg fällt heute aus. ";
    return text;
  }

  support::TempDir store_;
};

TEST_F(SavingTest, WritesMono16BitAt22050Hertz) {
  const Result result = Save("Der Zug fällt aus.");
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.out + result.err, "");
  const Sound sound = ReadSound(Wav());
  EXPECT_EQ(sound.sampleRate, 22050);
  EXPECT_EQ(sound.channels, 1);
  EXPECT_EQ(sound.format, SF_FORMAT_WAV | SF_FORMAT_PCM_16);
  EXPECT_GT(sound.Seconds(), 0.7);
  EXPECT_LT(sound.Seconds(), 4);
  EXPECT_GT(Level(sound.samples), 0.02);
  EXPECT_THAT(Store(), ElementsAre("de0", "de0.wav"));
}

TEST_F(SavingTest, RelativeNamesBelongToTheWorkingDirectory) {
  dir_.Write("texts/a.txt", "Hallo");
  EXPECT_EQ(RunEngine({"--", "texts/a.txt", "a.wav"}).status, 0);
  EXPECT_GT(Level(ReadSound(dir_.Sub("a.wav")).samples), 0.02);
}

TEST_F(SavingTest, FileNamesMayBeginWithADash) {
  dir_.Write("-text", "Hallo");
  EXPECT_EQ(RunEngine({"--", "-text", "-.wav"}).status, 0);
  EXPECT_TRUE(fs::exists(dir_.Sub("-.wav")));
}

TEST_F(SavingTest, EmptyTextGivesAShortSilence) {
  for (const std::string text : {"", " \n", "\\audio(play=/missing.wav)"}) {
    EXPECT_EQ(Save(text).status, 0);
    const Sound sound = ReadSound(Wav());
    EXPECT_NEAR(sound.Seconds(), 0.1, 0.001) << text;
    EXPECT_EQ(Level(sound.samples), 0) << text;
  }
}

TEST_F(SavingTest, NulBytesAndControlCharactersDoNotEndTheText) {
  using namespace std::string_literals;
  EXPECT_EQ(Save("Guten\0 Tag\x1B nach Hamburg"s).status, 0);
  const double seconds = ReadSound(Wav()).Seconds();
  EXPECT_EQ(Save("Guten Tag nach Hamburg").status, 0);
  EXPECT_NEAR(seconds, ReadSound(Wav()).Seconds(), 0.05);
}

TEST_F(SavingTest, InvalidBytesAreNotFatal) {
  EXPECT_EQ(Save("Der Zug f\xE4llt aus \xFF\xC3").status, 0);
  EXPECT_GT(Level(ReadSound(Wav()).samples), 0.02);
}

TEST_F(SavingTest, TextFileIsNeverTouched) {
  const std::string text = "Gleis \\voice(nosuch) 5";
  EXPECT_EQ(Save(text).status, 1);
  EXPECT_EQ(support::ReadFile(store_.Sub("de0")), text);
  EXPECT_EQ(Save("Gleis 5").status, 0);
  EXPECT_EQ(support::ReadFile(store_.Sub("de0")), "Gleis 5");
}

TEST_F(SavingTest, MissingAudioFileIsOnlyAWarning) {
  const Result result = Save("Gleis \\audio(play=/missing.wav) 5");
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.err,
            "ka-espeak-ng: warning: cannot read '/missing.wav': No such file or directory\n");
  EXPECT_GT(Level(ReadSound(Wav()).samples), 0.02);
}

TEST_F(SavingTest, AudioNamesThatLeadToDirectoriesDevicesAndPipesAreOnlyWarnings) {
  ASSERT_EQ(::mkfifo(dir_.Sub("fifo").c_str(), 0600), 0);
  const Result result = Save("\\audio(play=/dev/zero) \\audio(play=" + dir_.Sub("fifo") +
                             ") \\audio(play=" + dir_.Path() + ") Gleis 5");
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(std::ranges::count(result.err, '\n'), 3) << result.err;
  EXPECT_GT(Level(ReadSound(Wav()).samples), 0.02);
}

TEST_F(SavingTest, MissingVoiceIsAFailure) {
  const Result result = RunEngine({"--voice", "nosuch", "--", store_.Write("t", "Gleis"), Wav()});
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.err, "ka-espeak-ng: error: no voice 'nosuch'\n");
  EXPECT_THAT(Store(), ElementsAre("t"));
}

TEST_F(SavingTest, VoiceThatNoTextUsesNeedNotExist) {
  const Result result =
      RunEngine({"--voice", "nosuch", "--", store_.Write("t", "\\voice(de) Gleis 5"), Wav()});
  EXPECT_EQ(result.status, 0) << result.err;
}

TEST_F(SavingTest, MissingTextFileIsAFailure) {
  const Result result = RunEngine({"--", store_.Sub("none"), Wav()});
  EXPECT_EQ(result.status, 1);
  EXPECT_THAT(result.err, MatchesRegex("ka-espeak-ng: error: cannot read '.*none': .*\n"));
}

TEST_F(SavingTest, TextFileThatIsADirectoryAPipeOrTooLargeIsAFailure) {
  ASSERT_EQ(::mkfifo(dir_.Sub("fifo").c_str(), 0600), 0);
  for (const std::string& path :
       {dir_.Path(), dir_.Sub("fifo"), dir_.Write("large", std::string(2'000'000, 'x'))}) {
    EXPECT_EQ(RunEngine({"--", path, Wav()}).status, 1) << path;
  }
  EXPECT_THAT(Store(), ElementsAre());
}

TEST_F(SavingTest, WavFileThatIsADirectoryIsAFailure) {
  store_.MakeDir("de0.wav");
  const Result result = Save("Gleis");
  EXPECT_EQ(result.status, 1);
  EXPECT_THAT(result.err, HasSubstr("is not a regular file"));
  EXPECT_THAT(Store(), ElementsAre("de0", "de0.wav"));
}

TEST_F(SavingTest, MissingDirectoryIsAFailure) {
  const Result result = RunEngine({"--", store_.Write("t", "Gleis"), store_.Sub("none/x.wav")});
  EXPECT_EQ(result.status, 1);
  EXPECT_THAT(result.err, StartsWith("ka-espeak-ng: error: cannot create a file beside '"));
  EXPECT_THAT(result.err, HasSubstr("No such file or directory"));
}

TEST_F(SavingTest, UnwritableDirectoryIsAFailure) {
  // A directory of /proc refuses new files even to root.
  const Result result = RunEngine({"--", store_.Write("t", "Gleis"), "/proc/self/x.wav"});
  EXPECT_EQ(result.status, 1);
  EXPECT_THAT(result.err, StartsWith("ka-espeak-ng: error: cannot create a file beside '"));
}

TEST_F(SavingTest, FullDiskIsAFailureAndLeavesTheOldFileAndNoOther) {
  store_.Write("de0.wav", "old");
  settings_.largestFileBytes = 20000;
  const Result result = Save("Der Zug nach Hamburg fällt heute aus.");
  EXPECT_EQ(result.status, 1);
  EXPECT_THAT(result.err, MatchesRegex("ka-espeak-ng: error: cannot write '.*': File too large\n"));
  EXPECT_THAT(Store(), ElementsAre("de0", "de0.wav"));
  EXPECT_EQ(support::ReadFile(Wav()), "old");
}

TEST_F(SavingTest, WithoutTheDataOfEspeakNgIsAFailure) {
  settings_.environment["ESPEAK_DATA_PATH"] = store_.MakeDir("espeak-ng-data");
  const Result result = Save("Gleis");
  EXPECT_EQ(result.status, 1);
  EXPECT_THAT(result.err, HasSubstr("ka-espeak-ng: error: espeak-ng cannot start: "));
  EXPECT_FALSE(fs::exists(Wav()));
}

TEST_F(SavingTest, TextFileAndWavFileMayNotBeTheSame) {
  const std::string file = store_.Write("t", "Gleis");
  EXPECT_EQ(RunEngine({"--discard-on-failure", "--", file, file}).status, 2);
  EXPECT_EQ(support::ReadFile(file), "Gleis");
}

TEST_F(SavingTest, WorkBeyondTheTimeLimitIsAFailure) {
  const Result result = Save(LongText(), {"--time-limit", "1"});
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.err, "ka-espeak-ng: error: the time limit is over\n");
  EXPECT_THAT(Store(), ElementsAre("de0"));
}

TEST_F(SavingTest, ManyLongPausesAreAFailureBeforeTheyFillTheDisk) {
  std::string text;
  for (int i = 0; i < 61; ++i)
    text += "\\pause(60000)";
  const Result result = Save(text);
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.err, "ka-espeak-ng: error: the announcement is longer than an hour\n");
  EXPECT_THAT(Store(), ElementsAre("de0"));
}

TEST_F(SavingTest, SignalsEndTheWorkWithoutATemporaryFile) {
  for (const int signalNumber : {SIGTERM, SIGINT, SIGHUP}) {
    store_.Write("de0", LongText());
    Process engine(EngineCommand({"--voice", "de", "--", store_.Sub("de0"), Wav()}), settings_);
    ASSERT_TRUE(Eventually([&] { return Store().size() == 2; }));
    engine.Signal(signalNumber);
    const Result result = engine.Wait();
    EXPECT_EQ(result.status, 128 + signalNumber);
    EXPECT_EQ(result.err,
              "ka-espeak-ng: error: ended by signal " + std::to_string(signalNumber) + "\n");
    EXPECT_THAT(Store(), ElementsAre("de0"));
  }
}

// A reader that looks all the time sees either the old or the new announcement, each whole.
TEST_F(SavingTest, ReaderNeverSeesHalfAFile) {
  ASSERT_EQ(Save("Kurz.").status, 0);
  const double shortSeconds = ReadSound(Wav()).Seconds();
  std::atomic<bool> isDone = false;
  std::vector<double> seen;
  std::jthread reader([&] {
    while (!isDone)
      seen.push_back(ReadSound(Wav()).Seconds());
  });
  const Result result = Save("Der Zug nach Hamburg fällt heute aus. Wir bitten um Entschuldigung.");
  isDone = true;
  reader.join();
  ASSERT_EQ(result.status, 0);
  const double longSeconds = ReadSound(Wav()).Seconds();
  ASSERT_GT(longSeconds, shortSeconds * 2);
  for (const double seconds : seen) {
    EXPECT_TRUE(seconds == shortSeconds || seconds == longSeconds) << seconds;
  }
}

TEST_F(SavingTest, TwoAtOnceDoNotDisturbEachOther) {
  const std::string text = store_.Write("de0", "Der Zug nach Hamburg fällt heute aus.");
  Process first(EngineCommand({"--voice", "de", "--", text, Wav()}), settings_);
  Process second(EngineCommand({"--voice", "de", "--", text, Wav()}), settings_);
  EXPECT_EQ(first.Wait().status, 0);
  EXPECT_EQ(second.Wait().status, 0);
  EXPECT_THAT(Store(), ElementsAre("de0", "de0.wav"));
  EXPECT_GT(Level(ReadSound(Wav()).samples), 0.02);
}

TEST_F(SavingTest, ClosedStandardStreamsDoNotReachTheFile) {
  store_.Write("de0", "\\unknown(x) Gleis 5");
  const Result result = RunShell("exec 0<&- 1>&- 2>&-; " + engine_test::EnginePath() +
                                 " --voice de -- " + store_.Sub("de0") + " " + Wav());
  EXPECT_EQ(result.status, 0);
  EXPECT_GT(Level(ReadSound(Wav()).samples), 0.02);
}

TEST_F(SavingTest, WrongUsageHasItsOwnStatus) {
  for (const engine_test::Arguments& arguments :
       {engine_test::Arguments{}, {"--"}, {"--nosuch", "x"}, {"--", "a", "b", "c"}}) {
    const Result result = RunEngine(arguments);
    EXPECT_EQ(result.status, 2);
    EXPECT_THAT(result.err, MatchesRegex("ka-espeak-ng: error: .*\n"));
    EXPECT_EQ(result.out, "");
  }
}

TEST_F(SavingTest, HelpAndVersionGoToStandardOutput) {
  const Result help = RunEngine({"--help"});
  EXPECT_EQ(help.status, 0);
  EXPECT_THAT(help.out, StartsWith("Usage: ka-espeak-ng"));
  const Result version = RunEngine({"--version"});
  EXPECT_EQ(version.status, 0);
  EXPECT_THAT(version.out, MatchesRegex("ka-espeak-ng [0-9.]+, espeak-ng [0-9.]+.*\n"));
}

TEST_F(SavingTest, HelpToAFullDiskIsAFailure) {
  EXPECT_EQ(RunShell(engine_test::EnginePath() + " --help > /dev/full").status, 1);
}

}  // namespace
