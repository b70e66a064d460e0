// Disks that are full, without inodes or read-only, and directories that go away, with the default
// engine as it is shipped. In tests/server: Announcements.EngineRunsEvenIfTheTextCannotBeKept,
// Announcements.MissingDirectoriesDoNotStopTheStart.

#include <filesystem>
#include <fstream>

#include "fault_fixture.h"
#include "own_mounts.h"

namespace servertest {

namespace {

using testing::HasSubstr;
using testing::IsEmpty;

namespace fs = std::filesystem;

/// Fills the disk with files of one block each: first the space or the inodes end.
void FillDisk(const std::string& directory) {
  const std::string block(4096, 'x');
  for (int number = 0;; ++number) {
    std::ofstream file(directory + "/filler" + std::to_string(number), std::ios::binary);
    file << block;
    if (!file.flush()) return;
  }
}

void FreeDisk(const std::string& directory) {
  for (int number = 0; fs::remove(directory + "/filler" + std::to_string(number)); ++number) {
  }
}

class DiskFault : public FaultTest {
 protected:
  static constexpr const char* kSpace = "size=1m";
  static constexpr const char* kInodes = "nr_inodes=12";

  void SetUp() override {
    if (!mounts_.ArePossible()) GTEST_SKIP() << "neither root nor user namespaces: cannot mount";
  }
  OwnMounts& mounts() { return mounts_; }

  /// A served block with the default engine, real.
  void StartServing() {
    UseRealEngine("--discard-on-failure");
    Start();
    NoteDescriptors();
    ExpectBlockIsHeard("ICE 1");
  }
  void ExpectBlockIsHeard(const std::string& train) const {
    EXPECT_EQ(AskData(Block({train})), kReceived);
    for (const char* name : {"de0", "en0"}) {
      EXPECT_THAT(StoredText(name), HasSubstr(train));
      EXPECT_GT(StoredSpeech(name).size(), 10000U) << name;
      EXPECT_EQ(PlayedSpeech(name), StoredSpeech(name)) << name;
    }
  }
  /// A block that meets the fault: answered and counted as made.
  void SendBlockIntoTheFault(const std::string& train) const {
    const std::size_t before = CountOf(Out(), kMessageOk);
    EXPECT_EQ(AskData(Block({train})), kReceived);
    EXPECT_EQ(CountOf(Out(), kMessageOk), before + 1);
    ExpectOtherPortsServe();
  }
  /// The first of the two announcements is missing at least, and none is an earlier block's.
  void ExpectNothingOutdatedIsPlayable(const std::string& train) const {
    EXPECT_FALSE(Exists(stage().Play() + "/de0.wav"));
    if (Exists(stage().Play() + "/en0.wav")) {
      EXPECT_EQ(StoredText("en0"), "EN train " + train);
    }
  }
  void ExpectRecoveryWith(const std::string& train) const {
    ExpectBlockIsHeard(train);
    ExpectOtherPortsServe();
    ExpectNoDescriptorIsLeft();
  }

 private:
  OwnMounts mounts_;
};

// --- store directory ----------------------------------------------------------------------------

TEST_F(DiskFault, FullStoreCostsTheAnnouncementAndTheSameBlockIsTriedAgain) {
  mounts().MountMemory(stage().Store(), kSpace);
  StartServing();
  FillDisk(stage().Store());
  SendBlockIntoTheFault("ICE 2");
  EXPECT_THAT(NewErr(), HasSubstr("ka-espeak-ng: error: "));
  EXPECT_THAT(NewErr(), HasSubstr("No space left on device"));
  ExpectNothingOutdatedIsPlayable("ICE 2");
  FreeDisk(stage().Store());
  ExpectRecoveryWith("ICE 2");
}

TEST_F(DiskFault, StoreWithoutInodesCostsTheAnnouncementAndTheSameBlockIsTriedAgain) {
  mounts().MountMemory(stage().Store(), kInodes);
  StartServing();
  FillDisk(stage().Store());
  SendBlockIntoTheFault("ICE 2");
  EXPECT_THAT(NewErr(), HasSubstr("ka-espeak-ng: error: "));
  ExpectNothingOutdatedIsPlayable("ICE 2");
  FreeDisk(stage().Store());
  ExpectRecoveryWith("ICE 2");
}

// Nothing can be removed either: the outdated file stays and is copied.
TEST_F(DiskFault, ReadOnlyStoreKeepsTheOldSpeechAndTheSameBlockIsTriedAgain) {
  StartServing();
  const std::string old = PlayedSpeech("de0");
  mounts().MakeReadOnly(stage().Store());
  SendBlockIntoTheFault("ICE 2");
  EXPECT_THAT(NewErr(), HasSubstr("Read-only file system"));
  EXPECT_EQ(PlayedSpeech("de0"), old);
  mounts().Unmount(stage().Store());
  ExpectRecoveryWith("ICE 2");
  EXPECT_NE(PlayedSpeech("de0"), old);
}

TEST_F(DiskFault, RemovedStoreCostsTheAnnouncementUntilItIsBack) {
  StartServing();
  fs::remove_all(stage().Store());
  SendBlockIntoTheFault("ICE 2");
  EXPECT_EQ(CountOf(NewErr(), kNoBackup), 4U);
  EXPECT_THAT(NewErr(), HasSubstr("ka-espeak-ng: error: "));
  EXPECT_THAT(Entries(stage().Play()), IsEmpty());
  fs::create_directory(stage().Store());
  ExpectRecoveryWith("ICE 2");
}

// --- play directory -----------------------------------------------------------------------------

TEST_F(DiskFault, FullPlayDirectoryIsFilledByTheNextBlock) {
  mounts().MountMemory(stage().Play(), kSpace);
  StartServing();
  fs::remove(stage().Play() + "/de0.wav");
  fs::remove(stage().Play() + "/en0.wav");
  FillDisk(stage().Play());
  SendBlockIntoTheFault("ICE 2");
  EXPECT_THAT(NewErr(), HasSubstr("No space left on device"));
  EXPECT_FALSE(Exists(stage().Play() + "/saveblock"));
  FreeDisk(stage().Play());
  ExpectRecoveryWith("ICE 2");
}

TEST_F(DiskFault, PlayDirectoryWithoutInodesIsFilledByTheNextBlock) {
  mounts().MountMemory(stage().Play(), kInodes);
  StartServing();
  fs::remove(stage().Play() + "/de0.wav");
  fs::remove(stage().Play() + "/en0.wav");
  FillDisk(stage().Play());
  SendBlockIntoTheFault("ICE 2");
  EXPECT_THAT(NewErr(), HasSubstr("No space left on device"));
  EXPECT_FALSE(Exists(stage().Play() + "/saveblock"));
  FreeDisk(stage().Play());
  ExpectRecoveryWith("ICE 2");
}

TEST_F(DiskFault, ReadOnlyPlayDirectoryKeepsTheOldSpeechUntilItIsWritable) {
  StartServing();
  const std::string old = PlayedSpeech("de0");
  mounts().MakeReadOnly(stage().Play());
  SendBlockIntoTheFault("ICE 2");
  EXPECT_THAT(NewErr(), HasSubstr("Read-only file system"));
  EXPECT_EQ(PlayedSpeech("de0"), old);
  EXPECT_EQ(AskCommand("de0"), kReceived);
  EXPECT_EQ(stubs().CallsOf("aplay").size(), 1U) << "played without a marker";
  mounts().Unmount(stage().Play());
  ExpectRecoveryWith("ICE 2");
  EXPECT_NE(PlayedSpeech("de0"), old);
}

TEST_F(DiskFault, RemovedPlayDirectoryIsFilledByTheNextBlockWhenItIsBack) {
  StartServing();
  fs::remove_all(stage().Play());
  SendBlockIntoTheFault("ICE 2");
  EXPECT_THAT(NewErr(), HasSubstr("No such file or directory"));
  fs::create_directory(stage().Play());
  ExpectRecoveryWith("ICE 2");
}

}  // namespace

}  // namespace servertest
