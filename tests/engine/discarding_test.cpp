// What a failed save leaves behind, with and without --discard-on-failure.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>
#include <filesystem>
#include <string>

#include "engine_process.h"
#include "sound.h"

using engine_test::EngineTest;
using engine_test::Eventually;
using engine_test::Process;
using engine_test::Result;
using testing::ElementsAre;

namespace {

namespace fs = std::filesystem;

class DiscardingTest : public EngineTest {
 protected:
  DiscardingTest() { store_.Write("de0.wav", "old announcement"); }

  // Fails to save the text file as de0.wav, for want of a voice.
  Result FailWith(const std::string& textFile, const engine_test::Arguments& options) {
    store_.Write(textFile, "Gleis 5");
    engine_test::Arguments arguments{"--voice", "nosuch"};
    arguments.insert(arguments.end(), options.begin(), options.end());
    arguments.insert(arguments.end(), {"--", store_.Sub(textFile), store_.Sub("de0.wav")});
    return RunEngine(arguments);
  }

  std::vector<std::string> Store() const { return FilesIn(store_.Path()); }

  support::TempDir store_;
};

TEST_F(DiscardingTest, WithoutTheOptionAFailureTouchesNothing) {
  EXPECT_EQ(FailWith("de0", {}).status, 1);
  EXPECT_EQ(support::ReadFile(store_.Sub("de0")), "Gleis 5");
  EXPECT_EQ(support::ReadFile(store_.Sub("de0.wav")), "old announcement");
}

TEST_F(DiscardingTest, WithTheOptionTheOldAnnouncementAndItsTextGo) {
  const Result result = FailWith("de0", {"--discard-on-failure"});
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.err, "ka-espeak-ng: error: no voice 'nosuch'\n");
  EXPECT_THAT(Store(), ElementsAre());
}

TEST_F(DiscardingTest, TextFileWithTheEndingTxtStays) {
  EXPECT_EQ(FailWith("phrase.txt", {"--discard-on-failure"}).status, 1);
  EXPECT_THAT(Store(), ElementsAre("phrase.txt"));
  EXPECT_EQ(support::ReadFile(store_.Sub("phrase.txt")), "Gleis 5");
}

TEST_F(DiscardingTest, OnlyTheVeryEndingProtectsAText) {
  EXPECT_EQ(FailWith("phrase.txt0", {"--discard-on-failure"}).status, 1);
  EXPECT_THAT(Store(), ElementsAre());
}

TEST_F(DiscardingTest, SuccessRemovesNothing) {
  const std::string text = store_.Write("de0", "Gleis 5");
  EXPECT_EQ(RunEngine({"--discard-on-failure", "--", text, store_.Sub("de0.wav")}).status, 0);
  EXPECT_THAT(Store(), ElementsAre("de0", "de0.wav"));
  EXPECT_GT(engine_test::ReadSound(store_.Sub("de0.wav")).Seconds(), 0.3);
}

TEST_F(DiscardingTest, WarningIsNoFailure) {
  const std::string text = store_.Write("de0", "Gleis 5 \\audio(play=/missing.wav)");
  EXPECT_EQ(RunEngine({"--discard-on-failure", "--", text, store_.Sub("de0.wav")}).status, 0);
  EXPECT_THAT(Store(), ElementsAre("de0", "de0.wav"));
}

TEST_F(DiscardingTest, WrongUsageRemovesNothing) {
  const std::string text = store_.Write("de0", "Gleis 5");
  EXPECT_EQ(
      RunEngine({"--discard-on-failure", "--nosuch", "--", text, store_.Sub("de0.wav")}).status, 2);
  EXPECT_THAT(Store(), ElementsAre("de0", "de0.wav"));
}

TEST_F(DiscardingTest, TimeLimitDiscardsToo) {
  std::string text;
  while (text.size() < 500000)
    text += "Der Zug nach Hamburg fällt heute aus. ";
  EXPECT_EQ(RunEngine({"--discard-on-failure", "--time-limit", "1", "--", store_.Write("de0", text),
                       store_.Sub("de0.wav")})
                .status,
            1);
  EXPECT_THAT(Store(), ElementsAre());
}

TEST_F(DiscardingTest, FullDiskDiscardsToo) {
  settings_.largestFileBytes = 1000;
  const std::string text = store_.Write("de0", "Gleis 5");
  EXPECT_EQ(RunEngine({"--discard-on-failure", "--", text, store_.Sub("de0.wav")}).status, 1);
  EXPECT_THAT(Store(), ElementsAre());
}

TEST_F(DiscardingTest, SignalDiscardsToo) {
  std::string text;
  while (text.size() < 500000)
    text += "Der Zug nach Hamburg fällt heute aus. ";
  Process engine(EngineCommand({"--discard-on-failure", "--", store_.Write("de0", text),
                                store_.Sub("de0.wav")}),
                 settings_);
  ASSERT_TRUE(Eventually([&] { return Store().size() == 3; }));
  engine.Signal(SIGTERM);
  EXPECT_EQ(engine.Wait().status, 128 + SIGTERM);
  EXPECT_THAT(Store(), ElementsAre());
}

TEST_F(DiscardingTest, OnlyRegularFilesAreRemoved) {
  const std::string kept = dir_.Write("kept", "Gleis 5");
  fs::create_symlink(kept, store_.Sub("de1"));
  fs::create_symlink(kept, store_.Sub("de1.wav"));
  EXPECT_EQ(
      RunEngine({"--discard-on-failure", "--", store_.Sub("de1"), store_.Sub("de1.wav")}).status,
      2);
  store_.MakeDir("de2.wav");
  EXPECT_EQ(
      RunEngine({"--discard-on-failure", "--", store_.Sub("de1"), store_.Sub("de2.wav")}).status,
      1);
  EXPECT_THAT(Store(), ElementsAre("de0.wav", "de1", "de1.wav", "de2.wav"));
  EXPECT_EQ(support::ReadFile(kept), "Gleis 5");
}

}  // namespace
