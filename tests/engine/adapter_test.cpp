// The adapter template keeps the engine's contract as it stands.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>
#include <filesystem>
#include <string>

#include "engine_process.h"
#include "sound.h"

using engine_test::Arguments;
using engine_test::ChildrenOf;
using engine_test::EngineTest;
using engine_test::Eventually;
using engine_test::IsRunning;
using engine_test::Level;
using engine_test::Process;
using engine_test::ReadSound;
using engine_test::Result;
using testing::ElementsAre;
using testing::HasSubstr;

namespace {

class AdapterTest : public EngineTest {
 protected:
  static Arguments AdapterCommand(const Arguments& arguments) {
    Arguments command{"sh", engine_test::AdapterTemplatePath()};
    command.insert(command.end(), arguments.begin(), arguments.end());
    return command;
  }

  Result RunAdapter(const Arguments& arguments) {
    return Process(AdapterCommand(arguments), settings_).Wait();
  }

  support::TempDir store_;
};

TEST_F(AdapterTest, SavesATextFile) {
  const std::string wav = store_.Sub("de0.wav");
  const Result result = RunAdapter({"--voice", "de", "--", store_.Write("de0", "Gleis 5"), wav});
  EXPECT_EQ(result.status, 0) << result.err;
  EXPECT_GT(Level(ReadSound(wav).samples), 0.02);
  EXPECT_THAT(FilesIn(store_.Path()), ElementsAre("de0", "de0.wav"));
}

TEST_F(AdapterTest, DropsTagsAndOtherBackslashes) {
  const auto seconds = [&](const std::string& text) {
    const std::string wav = store_.Sub("x.wav");
    EXPECT_EQ(RunAdapter({"--voice", "de", "--", store_.Write("x", text), wav}).status, 0);
    return ReadSound(wav).Seconds();
  };
  EXPECT_NEAR(seconds(" \\audio(play=/snd/gong.wav) Der \\pause(50)Zug\nfällt\\ aus"),
              seconds("Der Zug fällt aus"), 0.1);
}

TEST_F(AdapterTest, SpeaksThroughThePlayer) {
  const Result result = RunAdapter({"--voice", "de", "--", "-5 Grad"});
  EXPECT_EQ(result.status, 0) << result.err;
  EXPECT_GT(Level(ReadSound(HeardFile()).samples), 0.02);
}

TEST_F(AdapterTest, FailureTouchesNothingWithoutTheOption) {
  store_.Write("de0.wav", "old");
  const Result result =
      RunAdapter({"--voice", "nosuch", "--", store_.Write("de0", "Gleis"), store_.Sub("de0.wav")});
  EXPECT_EQ(result.status, 1);
  EXPECT_THAT(result.err, HasSubstr("adapter-template.sh: error: cannot save"));
  EXPECT_THAT(FilesIn(store_.Path()), ElementsAre("de0", "de0.wav"));
  EXPECT_EQ(support::ReadFile(store_.Sub("de0.wav")), "old");
}

TEST_F(AdapterTest, FailureDiscardsWithTheOption) {
  store_.Write("de0.wav", "old");
  RunAdapter({"--voice", "nosuch", "--discard-on-failure", "--", store_.Write("de0", "Gleis"),
              store_.Sub("de0.wav")});
  EXPECT_THAT(FilesIn(store_.Path()), ElementsAre());
  store_.Write("de0.wav", "old");
  RunAdapter({"--voice", "nosuch", "--discard-on-failure", "--", store_.Write("a.txt", "Gleis"),
              store_.Sub("de0.wav")});
  EXPECT_THAT(FilesIn(store_.Path()), ElementsAre("a.txt"));
}

TEST_F(AdapterTest, KilledPlayerEndsTheAdapter) {
  UseStubPlayer("touch " + dir_.Sub("playing") + "; exec sleep 60\n");
  Process adapter(AdapterCommand({"--voice", "de", "--", "Gleis 5"}), settings_);
  ASSERT_TRUE(Eventually([&] { return std::filesystem::exists(dir_.Sub("playing")); }));
  const std::vector<pid_t> children = ChildrenOf(adapter.Id());
  ASSERT_EQ(children.size(), 1U);
  ::kill(children[0], SIGKILL);
  const Result result = adapter.Wait();
  EXPECT_EQ(result.status, 3);
  EXPECT_THAT(result.err, HasSubstr("the player aplay was stopped"));
}

TEST_F(AdapterTest, SignalEndsAdapterAndPlayer) {
  UseStubPlayer("touch " + dir_.Sub("playing") + "; exec sleep 60\n");
  Process adapter(AdapterCommand({"--voice", "de", "--", "Gleis 5"}), settings_);
  ASSERT_TRUE(Eventually([&] { return std::filesystem::exists(dir_.Sub("playing")); }));
  const pid_t player = ChildrenOf(adapter.Id()).at(0);
  adapter.Signal(SIGTERM);
  EXPECT_EQ(adapter.Wait().status, 143);
  EXPECT_TRUE(Eventually([&] { return !IsRunning(player); }));
}

TEST_F(AdapterTest, WrongUsageHasItsOwnStatus) {
  EXPECT_EQ(RunAdapter({}).status, 2);
  EXPECT_EQ(RunAdapter({"--nosuch", "x"}).status, 2);
  EXPECT_EQ(RunAdapter({"--", "a", "b", "c"}).status, 2);
}

}  // namespace
