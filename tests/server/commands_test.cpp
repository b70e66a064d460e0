// The command port: which text is which command, and what a command does.

#include "server_fixture.h"

namespace servertest {

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

using Commands = ServerTest;

struct CommandText {
  const char* text;
  int code;
  std::vector<std::string> programs;  ///< what it runs
};

TEST_F(Commands, EveryTextIsToldByItsBeginningAndReportedOnce) {
  Start();
  const std::vector<CommandText> table = {
      {"!bell", 4, {"aplay"}},
      {"!bell twice", 4, {"aplay"}},
      {"!bell///", 4, {"aplay"}},
      {"!bel", 0, {}},
      {"!stop", 5, {"killall", "killall"}},
      {"!stopall", 5, {"killall", "killall"}},
      {"!Stop", 0, {}},
      {" !stop", 0, {}},
      {"!reboot-stamp", 3, {"reboot"}},
      {"!reboot-stampede", 3, {"reboot"}},
      {"!reboot", 0, {}},
      {"!reboot-", 0, {}},
      {"!terminat", 0, {}},
      {"!TERMINATE", 0, {}},
      {"!restar", 0, {}},
      {"restart", 0, {}},
      {"de0,en0", 0, {}},
  };
  std::string before = Out();
  for (const CommandText& command : table) {
    SCOPED_TRACE(command.text);
    stubs().ForgetCalls();
    EXPECT_EQ(AskCommand(command.text), kReceived);
    std::vector<std::string> programs;
    for (const std::string& call : stubs().Calls()) {
      programs.push_back(call.substr(0, call.find(' ')));
    }
    EXPECT_EQ(programs, command.programs);
    const std::string report =
        "new cmd: " + std::string(command.text) + " " + std::to_string(command.code) + "\n";
    const std::string now = Out();
    EXPECT_EQ(now.substr(before.size(), report.size()), report);
    EXPECT_EQ(CountOf(now.substr(before.size()), "new cmd: "), 1U);
    before = now;
  }
  EXPECT_TRUE(server().IsRunning());
}

TEST_F(Commands, StopIsReadOnlyAfterThePlayListHasEnded) {
  Start();
  stage().Write("run/play/eins.wav", "");
  stubs().Hold("aplay");
  const Client playing(stage().CommandPort());
  playing.Send("eins");
  AwaitCalls("aplay", 1);
  const Client stop(stage().CommandPort());
  stop.Send("!stop");
  EXPECT_EQ(AskText("///"), kReceived);
  EXPECT_THAT(stubs().CallsOf("killall"), IsEmpty());
  stubs().Release("aplay");
  EXPECT_EQ(playing.ReceiveAll(), kReceived);
  EXPECT_EQ(stop.ReceiveAll(), kReceived);
  EXPECT_THAT(stubs().CallsOf("killall"),
              ElementsAre("killall [-9] [aplay]", "killall [-9] [play]"));
}

TEST_F(Commands, BellRingsWhileATextIsSpoken) {
  Start();
  stubs().Hold("speak");
  const Client speaking(stage().TextPort());
  speaking.Send("Hallo");
  AwaitCalls("speak", 1);
  EXPECT_EQ(AskCommand("!bell"), kReceived);
  EXPECT_THAT(stubs().CallsOf("aplay"), ElementsAre("aplay [" + stage().Sounds() + "/bell.wav]"));
  EXPECT_FALSE(speaking.HasAnswer());
  stubs().Release("speak");
  EXPECT_EQ(speaking.ReceiveAll(), kReceived);
}

TEST_F(Commands, StopKillsThePlayersOfASpokenTextAndKeepsTheDeviceTaken) {
  Start();
  stage().Write("run/play/eins.wav", "");
  stubs().Hold("speak");
  const Client speaking(stage().TextPort());
  speaking.Send("Hallo");
  AwaitCalls("speak", 1);
  AskCommand("!stop");
  EXPECT_EQ(stubs().CallsOf("killall").size(), 2U);
  AskCommand("eins");
  EXPECT_THAT(stubs().CallsOf("aplay"), IsEmpty());
  stubs().Release("speak");
  EXPECT_EQ(speaking.ReceiveAll(), kReceived);
}

TEST_F(Commands, BellBlocksThePortUntilItHasRung) {
  Start();
  stubs().Hold("aplay");
  const Client bell(stage().CommandPort());
  bell.Send("!bell");
  AwaitCalls("aplay", 1);
  const Client next(stage().CommandPort());
  next.Send("!reboot-stamp");
  EXPECT_EQ(AskText("///"), kReceived);
  EXPECT_THAT(stubs().CallsOf("reboot"), IsEmpty());
  stubs().Release("aplay");
  EXPECT_EQ(bell.ReceiveAll(), kReceived);
  EXPECT_EQ(next.ReceiveAll(), kReceived);
  EXPECT_THAT(stubs().CallsOf("reboot"), ElementsAre("reboot"));
}

}  // namespace

}  // namespace servertest
