#include "Player.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/resource.h>

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include "Failure.h"
#include "Interruption.h"
#include "engine_process.h"
#include "sound.h"
#include "support/temp_dir.h"

using engine::Failure;
using engine::Player;
using engine_test::ChildrenOf;
using engine_test::Eventually;
using testing::HasSubstr;
using testing::IsEmpty;

namespace {

// Every test runs the player in this process, with a script named aplay instead of the real one.
class PlayerTest : public testing::Test {
 protected:
  PlayerTest() {
    engine::NoteSignals();
    SetPath(dir_.MakeDir("stubs") + ":" + pathBefore_);
  }
  ~PlayerTest() override {
    SetPath(pathBefore_);
    EXPECT_THAT(ChildrenOf(::getpid()), IsEmpty());
  }

  static void SetPath(const std::string& path) {
    ::setenv("PATH", path.c_str(), 1);  // NOLINT(concurrency-mt-unsafe): the only thread
  }

  static std::string Path() {
    const char* path = ::getenv("PATH");  // NOLINT(concurrency-mt-unsafe): the only thread
    return path == nullptr ? "" : path;
  }

  void UseScript(const std::string& script) {
    const std::string player =
        dir_.Write("stubs/aplay", "#!/bin/sh\ncd " + dir_.Path() + "\n" + script);
    std::filesystem::permissions(player, std::filesystem::perms::owner_all);
  }

  // Writes for ever; the failure that ends it.
  Failure FailureOfEndlessWriting(Player& player) const {
    try {
      while (true)
        player.Write(second_);
    } catch (const Failure& failure) {
      return failure;
    }
  }

  Failure FailureOfFinishing(Player& player) const {
    try {
      player.Finish();
    } catch (const Failure& failure) {
      return failure;
    }
    return Failure("none", 0);
  }

  bool Exists(const std::string& name) const { return std::filesystem::exists(dir_.Sub(name)); }

  support::TempDir dir_;
  const std::vector<std::int16_t> second_ = std::vector<std::int16_t>(22050, 258);

 private:
  const std::string pathBefore_ = Path();
};

TEST_F(PlayerTest, IsCalledForRawMonoSamplesOnItsStandardInput) {
  UseScript("echo \"$*\" > arguments; cat > sound\n");
  Player player;
  player.Write(second_);
  player.Finish();
  EXPECT_EQ(support::ReadFile(dir_.Sub("arguments")), "-q -t raw -f S16_LE -r 22050 -c 1 -\n");
  EXPECT_EQ(support::ReadFile(dir_.Sub("sound")),
            std::string(reinterpret_cast<const char*>(second_.data()), 44100));
}

TEST_F(PlayerTest, OnePlayerGetsAllSamples) {
  UseScript("echo started >> starts; cat > sound\n");
  Player player;
  for (int i = 0; i < 20; ++i)
    player.Write(second_);
  player.Finish();
  EXPECT_EQ(support::ReadFile(dir_.Sub("starts")), "started\n");
  EXPECT_EQ(std::filesystem::file_size(dir_.Sub("sound")), 882000U);
}

TEST_F(PlayerTest, WithoutSamplesNoneIsStarted) {
  UseScript("touch started\n");
  Player player;
  player.Finish();
  EXPECT_FALSE(Exists("started"));
}

TEST_F(PlayerTest, HearsTheFirstSamplesBeforeTheLastAreWritten) {
  UseScript("head -c 100 > /dev/null; touch heard; cat > /dev/null\n");
  Player player;
  player.Write(second_);
  EXPECT_TRUE(Eventually([&] { return Exists("heard"); }));
  player.Finish();
}

TEST_F(PlayerTest, FinishWaitsUntilEverythingWasPlayed) {
  UseScript("cat > /dev/null; sleep 0.3; touch played\n");
  Player player;
  player.Write(second_);
  player.Finish();
  EXPECT_TRUE(Exists("played"));
}

TEST_F(PlayerTest, KilledWhileItDoesNotReadEndsTheWriting) {
  UseScript("exec sleep 60\n");
  Player player;
  player.Write(second_);
  const std::vector<pid_t> children = ChildrenOf(::getpid());
  ASSERT_EQ(children.size(), 1U);
  ::kill(children[0], SIGKILL);
  EXPECT_EQ(FailureOfEndlessWriting(player).ExitStatus(), engine::kPlayerStopped);
}

// A wrapper script around the player may be killed alone, while its child keeps the pipe open. The
// script ends itself when the pipe has long been full.
TEST_F(PlayerTest, KilledWhileAnotherProcessHoldsTheFullPipeEndsTheWriting) {
  UseScript("exec 3<&0\nsleep 600 & echo $! > helper\n(sleep 0.3; kill -9 $$) & wait\n");
  Player player;
  EXPECT_EQ(FailureOfEndlessWriting(player).ExitStatus(), engine::kPlayerStopped);
  ::kill(std::stoi(support::ReadFile(dir_.Sub("helper"))), SIGKILL);
}

TEST_F(PlayerTest, KilledAfterTheLastSampleIsAFailureToo) {
  UseScript("exec sleep 60\n");
  Player player;
  player.Write(std::vector<std::int16_t>(100));
  ::kill(ChildrenOf(::getpid()).at(0), SIGKILL);
  EXPECT_EQ(FailureOfFinishing(player).ExitStatus(), engine::kPlayerStopped);
}

TEST_F(PlayerTest, ThatEndsTooEarlyIsAFailure) {
  UseScript("exit 0\n");
  Player player;
  EXPECT_EQ(FailureOfEndlessWriting(player).ExitStatus(), engine::kPlayerStopped);
}

TEST_F(PlayerTest, ThatOnlyClosesItsInputIsKilled) {
  UseScript("exec sleep 60 < /dev/null\n");
  Player player;
  EXPECT_EQ(FailureOfEndlessWriting(player).ExitStatus(), engine::kPlayerStopped);
  EXPECT_THAT(ChildrenOf(::getpid()), IsEmpty());
}

TEST_F(PlayerTest, ThatFailsIsReportedWithItsStatus) {
  UseScript("exit 7\n");
  Player writing;
  const Failure failure = FailureOfEndlessWriting(writing);
  EXPECT_EQ(failure.ExitStatus(), engine::kFailed);
  EXPECT_THAT(failure.what(), HasSubstr("status 7"));
  UseScript("cat > /dev/null; exit 8\n");
  Player finishing;
  finishing.Write(second_);
  EXPECT_THAT(FailureOfFinishing(finishing).what(), HasSubstr("status 8"));
}

TEST_F(PlayerTest, ThatIsNotInstalledIsAFailure) {
  SetPath(dir_.MakeDir("empty"));
  Player player;
  try {
    player.Write(second_);
    FAIL();
  } catch (const Failure& failure) {
    EXPECT_THAT(failure.what(), HasSubstr("aplay: No such file or directory"));
  }
}

TEST_F(PlayerTest, ThatGetsNoPipeIsAFailure) {
#ifdef __SANITIZE_ADDRESS__
  GTEST_SKIP() << "the sanitizer needs descriptors of its own to look at memory";
#endif
  rlimit before{};
  ASSERT_EQ(::getrlimit(RLIMIT_NOFILE, &before), 0);
  const rlimit none{3, before.rlim_max};
  Player player;
  std::string message;
  ::setrlimit(RLIMIT_NOFILE, &none);
  try {
    player.Write(second_);
  } catch (const Failure& failure) {
    message = failure.what();
  }
  ::setrlimit(RLIMIT_NOFILE, &before);
  EXPECT_EQ(message, "cannot create a pipe to the player: Too many open files");
}

TEST_F(PlayerTest, IsKilledWhenTheAnnouncementFails) {
  UseScript("exec sleep 60\n");
  {
    Player player;
    player.Write(second_);
    ASSERT_EQ(ChildrenOf(::getpid()).size(), 1U);
  }
  EXPECT_THAT(ChildrenOf(::getpid()), IsEmpty());
}

TEST_F(PlayerTest, MeetsTheUsualSignalActions) {
  UseScript("grep -h SigIgn /proc/self/status > ignored; cat > /dev/null\n");
  Player player;
  player.Write(second_);
  player.Finish();
  const std::string line = support::ReadFile(dir_.Sub("ignored"));
  const unsigned long ignored = std::stoul(line.substr(line.find(':') + 1), nullptr, 16);
  EXPECT_EQ(ignored & (1UL << (SIGPIPE - 1)), 0U) << line;
  EXPECT_EQ(ignored & (1UL << (SIGXFSZ - 1)), 0U) << line;
}

}  // namespace
