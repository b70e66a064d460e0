// Speaking: TEXT, through the real aplay into a file, or through a stub that can be killed.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>
#include <filesystem>
#include <string>

#include "engine_process.h"
#include "sound.h"

using engine_test::ChildrenOf;
using engine_test::EngineTest;
using engine_test::Eventually;
using engine_test::IsRunning;
using engine_test::Level;
using engine_test::Process;
using engine_test::ReadSound;
using engine_test::Result;
using engine_test::Sound;
using testing::MatchesRegex;

namespace {

class SpeakingTest : public EngineTest {
 protected:
  // The one player of an engine that is speaking, once it has been started.
  static pid_t PlayerOf(const Process& engine) {
    std::vector<pid_t> children;
    EXPECT_TRUE(Eventually([&] { return !(children = ChildrenOf(engine.Id())).empty(); }));
    EXPECT_EQ(children.size(), 1U);
    return children.empty() ? -1 : children[0];
  }

  static std::string LongText() {
    std::string text;
    while (text.size() < 10000)
      text += "Der Zug nach Hamburg fällt heute aus. ";
    return text;
  }
};

TEST_F(SpeakingTest, TextIsHeardThroughTheRealPlayer) {
  const Result result = RunEngine({"--voice", "de", "--", "Der Zug fällt aus."});
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.out + result.err, "");
  const Sound heard = ReadSound(HeardFile());
  EXPECT_EQ(heard.sampleRate, 22050);
  EXPECT_EQ(heard.channels, 1);
  EXPECT_GT(heard.Seconds(), 0.7);
  EXPECT_LT(heard.Seconds(), 4);
  EXPECT_GT(Level(heard.samples), 0.02);
}

TEST_F(SpeakingTest, WhatIsHeardIsWhatWouldBeSaved) {
  const std::string text = "Der Zug nach Hamburg fällt aus.";
  ASSERT_EQ(RunEngine({"--voice", "de", "--", text}).status, 0);
  ASSERT_EQ(RunEngine({"--voice", "de", "--", dir_.Write("text", text), "saved.wav"}).status, 0);
  const Sound heard = ReadSound(HeardFile());
  const Sound saved = ReadSound(dir_.Sub("saved.wav"));
  ASSERT_GE(heard.samples.size() + 2205, saved.samples.size());
  const double end = saved.Seconds();
  EXPECT_NEAR(Level(heard.Part(0, end)), Level(saved.Part(0, end)), 0.02);
}

TEST_F(SpeakingTest, TextThatBeginsWithADashIsSpeech) {
  ASSERT_EQ(RunEngine({"--voice", "de", "--", "-5 Grad"}).status, 0);
  const double withMinus = ReadSound(HeardFile()).Seconds();
  ASSERT_EQ(RunEngine({"--voice", "de", "--", "5 Grad"}).status, 0);
  EXPECT_GT(withMinus, ReadSound(HeardFile()).Seconds() + 0.2);
}

TEST_F(SpeakingTest, EmptyTextNeedsNoPlayer) {
  settings_.environment["PATH"] = dir_.MakeDir("empty");
  for (const char* text : {"", "  ", "\\voice(de)"}) {
    const Result result = RunEngine({"--", text});
    EXPECT_EQ(result.status, 0) << text;
    EXPECT_EQ(result.err, "") << text;
  }
}

TEST_F(SpeakingTest, MissingPlayerIsAFailure) {
  settings_.environment["PATH"] = dir_.MakeDir("empty");
  const Result result = RunEngine({"--", "Hello"});
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.err,
            "ka-espeak-ng: error: cannot start the player aplay: No such file or directory\n");
}

TEST_F(SpeakingTest, MissingVoiceIsAFailureBeforeAnythingIsHeard) {
  UseStubPlayer("touch " + dir_.Sub("started") + "\n");
  const Result result = RunEngine({"--voice", "de", "--", "Guten Tag \\voice(nosuch) Gleis 5"});
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.err, "ka-espeak-ng: error: no voice 'nosuch'\n");
  EXPECT_FALSE(std::filesystem::exists(dir_.Sub("started")));
}

TEST_F(SpeakingTest, PlayerThatFindsNoDeviceIsAFailure) {
  settings_.environment["ALSA_CONFIG_PATH"] = dir_.Write("nothing.conf", "");
  const Result result = RunEngine({"--", "Hello"});
  EXPECT_EQ(result.status, 1);
  EXPECT_THAT(result.err, testing::EndsWith("ka-espeak-ng: error: the player aplay failed with "
                                            "status 1\n"));
}

TEST_F(SpeakingTest, FirstSoundComesBeforeTheTextIsFinished) {
  // The text has more sound than a pipe holds, and the player takes only the beginning of it.
  UseStubPlayer("head -c 1000 > " + dir_.Sub("first") + "\nexec sleep 60\n");
  Process engine(EngineCommand({"--voice", "de", "--", LongText()}), settings_);
  EXPECT_TRUE(Eventually([&] { return support::ReadFile(dir_.Sub("first")).size() == 1000; }));
  EXPECT_TRUE(IsRunning(engine.Id()));
}

TEST_F(SpeakingTest, KilledPlayerEndsTheEngineAndLeavesNoProcess) {
  UseStubPlayer("exec sleep 60\n");
  Process engine(EngineCommand({"--voice", "de", "--", LongText()}), settings_);
  const pid_t player = PlayerOf(engine);
  ::kill(player, SIGKILL);
  const Result result = engine.Wait();
  EXPECT_EQ(result.status, 3);
  EXPECT_EQ(result.err, "ka-espeak-ng: error: the player aplay was stopped\n");
  EXPECT_FALSE(IsRunning(player));
}

TEST_F(SpeakingTest, PlayerKilledAfterAllSamplesWereTakenEndsTheEngineToo) {
  UseStubPlayer("cat > /dev/null; touch " + dir_.Sub("all") + "; exec sleep 60\n");
  Process engine(EngineCommand({"--voice", "de", "--", "Gleis 5"}), settings_);
  ASSERT_TRUE(Eventually([&] { return std::filesystem::exists(dir_.Sub("all")); }));
  ::kill(PlayerOf(engine), SIGKILL);
  EXPECT_EQ(engine.Wait().status, 3);
}

TEST_F(SpeakingTest, KilledPlayerEndsThePlayingOfALongAudioFile) {
  UseStubPlayer("exec sleep 60\n");
  const std::string file = engine_test::WriteTone(dir_.Sub("long.wav"), {.seconds = 60});
  Process engine(EngineCommand({"--", "\\audio(play=" + file + ")"}), settings_);
  ::kill(PlayerOf(engine), SIGKILL);
  EXPECT_EQ(engine.Wait().status, 3);
}

TEST_F(SpeakingTest, SignalsEndEngineAndPlayer) {
  UseStubPlayer("trap '' TERM INT HUP; while :; do sleep 1; done\n");
  for (const int signalNumber : {SIGTERM, SIGINT, SIGHUP}) {
    Process engine(EngineCommand({"--voice", "de", "--", LongText()}), settings_);
    const pid_t player = PlayerOf(engine);
    engine.Signal(signalNumber);
    const Result result = engine.Wait();
    EXPECT_EQ(result.status, 128 + signalNumber);
    EXPECT_THAT(result.err, MatchesRegex("ka-espeak-ng: error: ended by signal [0-9]+\n"));
    EXPECT_FALSE(IsRunning(player));
  }
}

TEST_F(SpeakingTest, HangUpThatTheCallerIgnoresIsIgnored) {
  UseStubPlayer("cat > " + dir_.Sub("sound") + "\n");
  const Result result = RunShell("trap '' HUP; " + engine_test::EnginePath() +
                                 " --voice de -- 'Gleis 5' & sleep 0.01; kill -HUP $!; wait $!");
  EXPECT_EQ(result.status, 0) << result.err;
}

TEST_F(SpeakingTest, RealPlayerThatIsKilledEndsTheEngine) {
  // A pipe that nobody reads in place of the file of heard sound holds the real player up.
  const std::string pipe = dir_.Sub("nobody");
  ASSERT_EQ(RunShell("mkfifo " + pipe).status, 0);
  Process holder({"sh", "-c", "exec 3<>" + pipe + "; exec sleep 60"}, settings_);
  settings_.environment["ALSA_CONFIG_PATH"] =
      dir_.Write("held.conf", "pcm.!default { type plug slave.pcm { type file file \"" + pipe +
                                  "\" format \"raw\" slave.pcm { type null } } }\n");
  Process engine(EngineCommand({"--voice", "de", "--", LongText()}), settings_);
  const pid_t player = PlayerOf(engine);
  ::kill(player, SIGKILL);
  EXPECT_EQ(engine.Wait().status, 3);
  EXPECT_FALSE(IsRunning(player));
}

TEST_F(SpeakingTest, PlayersOwnMessagesReachTheOperator) {
  UseStubPlayer("echo 'no device' >&2; exit 1\n");
  const Result result = RunEngine({"--", "Hello"});
  EXPECT_EQ(result.status, 1);
  EXPECT_THAT(result.err, testing::StartsWith("no device\n"));
}

}  // namespace
