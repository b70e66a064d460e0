// One restart after another by the shipped script, each followed by sixty connections.

#include <filesystem>

#include "fault_fixture.h"

namespace servertest {

namespace {

namespace fs = std::filesystem;

/// The processes that run a program.
std::vector<pid_t> ProcessesOf(const std::string& executable) {
  std::vector<pid_t> pids;
  for (const fs::directory_entry& entry : fs::directory_iterator("/proc")) {
    const std::string name = entry.path().filename().string();
    if (name.find_first_not_of("0123456789") != std::string::npos) continue;
    std::error_code gone;
    if (fs::read_symlink(entry.path() / "exe", gone).string() == executable) {
      pids.push_back(std::stoi(name));
    }
  }
  return pids;
}

class Restart : public FaultTest {
 protected:
  Restart() {
    for (const char* tool : {"setsid", "sleep", "dirname"})
      stubs().AddReal(tool);
    fs::copy_file(RestartScript(), stage().Dir() + "/restart");
    Plan().WorkingDirectory = stage().Dir();
    stage().Set("speakoutstub", ":");
    UseEngine(": >\"$2\"");
  }

  /// Restarts the server that runs and returns the process id of the new one, 0 if it never came.
  pid_t RestartOnce(pid_t old) const {
    const std::size_t messages = CountOf(Out(), "ka-TTS-Server: ");
    EXPECT_EQ(AskCommand("!restart"), kReceived);
    // The old one takes its leave, the new one has loaded its messages and is ready.
    const auto ready = [&] { return CountOf(Out(), "ka-TTS-Server: ") == messages + 3; };
    EXPECT_TRUE(WaitUntil(ready)) << Err();
    const std::vector<pid_t> running = ProcessesOf(stage().Executable());
    if (running.size() != 1 || running[0] == old) return 0;
    for (const unsigned port : {stage().TextPort(), stage().DataPort(), stage().CommandPort()}) {
      EXPECT_TRUE(WaitUntil([&] { return ListensOn(running[0], port); }));
    }
    return running[0];
  }

  void ExpectSixtyConnectionsAreAnswered(int round) const {
    for (int count = 0; count < 20; ++count) {
      ASSERT_EQ(AskText("Hallo"), kReceived) << round << ", " << count;
      ASSERT_EQ(AskData("no block"), kReceived) << round << ", " << count;
      ASSERT_EQ(AskCommand("niemand"), kReceived) << round << ", " << count;
    }
  }
};

TEST_F(Restart, AgainAndAgainIsFollowedBySixtyAnsweredConnections) {
  Start();
  const int rounds = Rounds(5, 100);
  pid_t pid = Pid();
  NoteDescriptors();
  for (int round = 0; round < rounds && !HasFailure(); ++round) {
    pid = RestartOnce(pid);
    ASSERT_NE(pid, 0) << round;
    EXPECT_EQ(Describe(server().AwaitEnd()), "exit 0") << "the first of them";
    ExpectSixtyConnectionsAreAnswered(round);
  }
  EXPECT_EQ(CountOf(Out(), "new cmd: niemand 0\n"), static_cast<std::size_t>(20 * rounds));
  EXPECT_EQ(CountOf(Out(), "\nspeakout: Hallo\n"), static_cast<std::size_t>(20 * rounds));
  EXPECT_EQ(CountOf(Err(), "Meldung Nr. 20 --- "), static_cast<std::size_t>(rounds));
  EXPECT_EQ(OpenDescriptors(pid).size(), 6U) << "three streams, three ports";
  ExpectOtherPortsServe();
}

// The engine of a block outlives the process that asked for it.
TEST_F(Restart, DuringGenerationIsFollowedByAServedBlock) {
  const std::string orphanIsDone = stage().Beside("orphan");
  UseEngine("printf old >\"$2\"; : >'" + orphanIsDone + "'");
  Start();
  stubs().Hold("save");
  const Client interrupted(stage().DataPort());
  interrupted.Send(Block({"ICE 1"}));
  AwaitCalls("save", 1);
  ASSERT_NE(RestartOnce(Pid()), 0);
  EXPECT_EQ(interrupted.ReceiveAll(), "") << "its connection ends without an answer";
  stubs().Release("save");
  ASSERT_TRUE(WaitUntil([&] { return Exists(orphanIsDone); }));
  UseGoodEngine();
  ExpectAllPortsServe("ICE 1");
}

}  // namespace

}  // namespace servertest
