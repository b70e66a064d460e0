// What the doctor reads of the kernel's tables and of files.

#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <string>

#include "doctor/examination.h"
#include "doctor/file_state.h"
#include "doctor/process_table.h"
#include "doctor/speech_state.h"
#include "doctor/tcp_table.h"
#include "support/loopback.h"
#include "support/temp_dir.h"

namespace tools {

namespace {

namespace fs = std::filesystem;
using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::SizeIs;

Process Make(pid_t id, pid_t parent, const std::string& program) {
  Process process;
  process.Id = id;
  process.Parent = parent;
  process.Program = program;
  return process;
}

TEST(ProcessTable, KnowsThisProcess) {
  const ProcessTable table = ProcessTable::Read();
  const Process* self = table.Find(getpid());
  ASSERT_NE(self, nullptr);
  EXPECT_EQ(self->Parent, getppid());
  EXPECT_EQ(self->Program, fs::read_symlink("/proc/self/exe").string());
  EXPECT_TRUE(table.IsBelow(getpid(), getppid()));
  EXPECT_FALSE(table.IsBelow(getpid(), getpid()));
  EXPECT_LT(AgeOf(StartOf(*self)), 3600);
}

TEST(ProcessTable, WhatAServerIsAboutToStartIsNoServer) {
  const ProcessTable table({Make(10, 1, "/s/ka-tts-server"), Make(11, 10, "/s/ka-tts-server"),
                            Make(12, 1, "/other/ka-tts-server"), Make(13, 11, "/bin/sh")});
  const auto servers = table.ServersOf("/s");
  ASSERT_THAT(servers, SizeIs(1));
  EXPECT_EQ(servers.front().Id, 10);
  EXPECT_TRUE(table.IsBelow(13, 10));
}

TEST(ProcessTable, ServerWhoseProgramMayNotBeSeenIsKnownByItsCommandLine) {
  Process hidden = Make(10, 1, "");
  hidden.Arguments = {"/s/ka-tts-server"};
  EXPECT_THAT(ProcessTable({hidden}).ServersOf("/s"), SizeIs(1));
  EXPECT_THAT(ProcessTable({hidden}).ServersOf("/t"), IsEmpty());
  hidden.Arguments = {"./ka-tts-server"};
  EXPECT_THAT(ProcessTable({hidden}).ServersOf("/s"), SizeIs(1));
  hidden.Arguments = {"./another-server"};
  EXPECT_THAT(ProcessTable({hidden}).ServersOf("/s"), IsEmpty());
}

TEST(ProcessTable, CircleOfParentsEnds) {
  const ProcessTable table({Make(10, 11, "a"), Make(11, 10, "b")});
  EXPECT_FALSE(table.IsBelow(10, 1));
}

TEST(TcpTable, RowsAreReadAsTheKernelWritesThem) {
  const auto sockets = ParseTcpTable(
      "  sl  local_address rem_address   st tx_queue rx_queue tr tm->when retrnsmt   uid ...\n"
      "   0: 00000000:1645 00000000:0000 0A 00000000:00000003 00:00000000 00000000   998        0 "
      "4711 1 0000000000000000 100 0 0 10 0\n"
      "   1: 0100007F:1645 0201A8C0:C001 01 00000000:00000000 02:0000A123 00000000   998        0 "
      "4712 2 0000000000000000 20 4 30 10 -1\n"
      "   2: 0100007F:1645 0201A8C0:C002 06 00000000:00000000 00:00000000 00000000     0        0 "
      "0 1 0000000000000000\n"
      "nonsense\n");
  ASSERT_THAT(sockets, SizeIs(2));
  EXPECT_TRUE(sockets[0].bListening);
  EXPECT_EQ(sockets[0].Port, 5701U);
  EXPECT_EQ(sockets[0].Waiting, 3U);
  EXPECT_EQ(sockets[0].Inode, 4711U);
  EXPECT_EQ(sockets[0].User, 998U);
  EXPECT_FALSE(sockets[1].bListening);
  EXPECT_EQ(sockets[1].Peer, "192.168.1.2:49153");
}

TEST(TcpTable, LongAddressesAreReadToo) {
  const auto sockets = ParseTcpTable(
      "headings\n"
      "   0: 00000000000000000000000000000000:1645 00000000000000000000000001000000:C001 01 "
      "00000000:00000000 00:00000000 00000000     0        0 99 1 0000000000000000\n");
  ASSERT_THAT(sockets, SizeIs(1));
  EXPECT_EQ(sockets[0].Peer, "[::1]:49153");
}

TEST(TcpTable, OwnersAreFound) {
  const support::PortBlocker blocker;
  const auto sockets = ReadTcpSockets(ProcessTable::Read());
  const auto found = std::find_if(sockets.begin(), sockets.end(), [&](const TcpSocket& s) {
    return s.Port == blocker.Port() && s.bListening;
  });
  ASSERT_NE(found, sockets.end());
  EXPECT_THAT(found->Owners, ElementsAre(getpid()));
}

class FileStateTest : public ::testing::Test {
 protected:
  support::TempDir directory;
};

TEST_F(FileStateTest, ChangedFileIsNotRemoved) {
  const std::string file = directory.Write("file", "one");
  const auto seen = StateOf(file);
  directory.Write("file", "another");
  EXPECT_FALSE(RemoveUnchanged(file, *seen));
  EXPECT_TRUE(RemoveUnchanged(file, *StateOf(file)));
  EXPECT_FALSE(fs::exists(file));
}

TEST_F(FileStateTest, NewDirectoryIsLikeItsParent) {
  fs::permissions(directory.Path(), fs::perms(0750));
  if (geteuid() == 0) {
    ASSERT_EQ(chown(directory.Path().c_str(), 65534, 65534), 0);
  }
  ASSERT_TRUE(MakeDirectoryLikeParent(directory.Sub("made")));
  struct stat status {};
  ASSERT_EQ(stat(directory.Sub("made").c_str(), &status), 0);
  EXPECT_EQ(status.st_mode & 0777U, 0750U);
  if (geteuid() == 0) {
    EXPECT_EQ(status.st_uid, 65534U);
  }
  EXPECT_FALSE(MakeDirectoryLikeParent(directory.Sub("made")));
}

TEST_F(FileStateTest, DirectoryIsNotReplaced) {
  EXPECT_FALSE(ReplaceFile(directory.MakeDir("sub"), "content"));
  EXPECT_TRUE(fs::is_directory(directory.Sub("sub")));
  EXPECT_TRUE(fs::is_empty(directory.Sub("sub")));
}

TEST_F(FileStateTest, SpeechWithoutATextIsNotOutdated) {
  const Speech speech = LookAt(directory.Sub("text"), directory.Write("text.wav", ""));
  EXPECT_EQ(speech.State, SpeechState::Empty);
  EXPECT_FALSE(speech.Text.has_value());
}

}  // namespace

}  // namespace tools
