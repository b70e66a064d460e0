#include <gmock/gmock.h>

#include <string>
#include <utility>
#include <vector>

#include "ka-tts-server.h"
#include "kaTTSServer.h"
#include "support/capture_output.h"
#include "support/fake_clock.h"
#include "support/recording_shell.h"
#include "support/station.h"
#include "support/temp_dir.h"

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

class CommandTest : public ::testing::Test {
 protected:
  CommandTest() {
    ServerOperate = true;
    ServerRestart = false;
    server->BellFile = "/opt/tts/sounds/bell.wav";
    server->SpeechBuilder.PlayAnnounce = dir.Path();
    server->SpeechBuilder.PlayBlock = dir.Sub("playblock");
    server->SpeechBuilder.SaveBlock = dir.Sub("saveblock");
  }
  ~CommandTest() override {
    ServerOperate = false;
    ServerRestart = false;
  }

  int Check(const std::string& text) {
    const support::CaptureOutput output;
    const int code = server->CheckCommands(text);
    out = output.Out();
    return code;
  }

  bool Handle(int code) {
    const support::CaptureOutput output;
    const bool result = server->HandleCommand(code);
    out = output.Out();
    err = output.Err();
    return result;
  }

  /// Hands a text to the callback of the command port; notes what it says.
  bool Receive(const std::string& text) {
    const support::CaptureOutput output;
    const bool result = server.Receive(CallBackOnReceiveCommand, text);
    out = output.Out();
    err = output.Err();
    return result;
  }

  std::string Provide(const std::string& name) const {
    return "aplay " + dir.Write(name + ".wav", "sound");
  }

  support::TempDir dir;
  support::RecordingShell shell;
  support::IdleServer server;
  std::string out;
  std::string err;
};

using CommandCodes = CommandTest;
using CommandHandling = CommandTest;
using CommandChannel = CommandTest;

// --- Recognition

TEST_F(CommandCodes, HaveTheirNumbers) {
  EXPECT_EQ(CkaTTSServer::_TTSCMD_NO, 0);
  EXPECT_EQ(CkaTTSServer::_TTSCMD_RESTART_SERVER, 1);
  EXPECT_EQ(CkaTTSServer::_TTSCMD_STOP_SERVER, 2);
  EXPECT_EQ(CkaTTSServer::_TTSCMD_RESTART_DEVICE, 3);
  EXPECT_EQ(CkaTTSServer::_TTSCMD_BELL, 4);
  EXPECT_EQ(CkaTTSServer::_TTSCMD_STOP_PLAYING, 5);
}

TEST_F(CommandCodes, AreFoundByPrefixAndPrintedWithTheWholeText) {
  const std::pair<std::string, int> texts[] = {
      {"!restart", 1},    {"!restart now please", 1}, {"!terminate", 2},
      {"!terminated", 2}, {"!reboot-stamp", 3},       {"!reboot-stamp///x", 3},
      {"!bell", 4},       {"!bellissimo", 4},         {"!stop", 5},
      {"!stopall", 5},    {"!stop\r\n", 5},
  };
  for (const auto& [text, code] : texts) {
    EXPECT_EQ(Check(text), code) << text;
    EXPECT_EQ(out, "new cmd: " + text + " " + std::to_string(code) + "\n");
  }
}

TEST_F(CommandCodes, EverythingElseIsNoCommand) {
  for (const std::string text :
       {"", "!", "!restar", "!terminat", "!reboot", "!reboot-stam", "!bel", "!sto", "!STOP",
        "!Bell", " !stop", "stop", "x!stop", "Ansage1, Ansage2", "100 %d %s"}) {
    EXPECT_EQ(Check(text), 0) << text;
    EXPECT_EQ(out, "new cmd: " + text + " 0\n");
  }
}

// --- Commands

TEST_F(CommandHandling, OfNoOrUnknownCodesDoesNothing) {
  for (const int code : {0, -1, 6, 1000}) {
    EXPECT_TRUE(Handle(code));
    EXPECT_EQ(out + err, "");
  }
  EXPECT_THAT(shell.Commands(), IsEmpty());
  EXPECT_TRUE(ServerOperate);
  EXPECT_FALSE(ServerRestart);
}

TEST_F(CommandHandling, RestartEndsTheServerForANewOne) {
  EXPECT_TRUE(Handle(CkaTTSServer::_TTSCMD_RESTART_SERVER));
  EXPECT_TRUE(ServerRestart);
  EXPECT_FALSE(ServerOperate);
  EXPECT_THAT(shell.Commands(), IsEmpty());
  EXPECT_EQ(out + err, "");
}

TEST_F(CommandHandling, TerminateEndsTheServerForGood) {
  ServerRestart = true;
  EXPECT_TRUE(Handle(CkaTTSServer::_TTSCMD_STOP_SERVER));
  EXPECT_FALSE(ServerRestart);
  EXPECT_FALSE(ServerOperate);
  EXPECT_THAT(shell.Commands(), IsEmpty());
}

TEST_F(CommandHandling, RebootStampRebootsWithoutAStamp) {
  EXPECT_TRUE(Handle(CkaTTSServer::_TTSCMD_RESTART_DEVICE));
  EXPECT_THAT(shell.Commands(), ElementsAre("reboot"));
  EXPECT_TRUE(std::filesystem::is_empty(dir.Path()));
  EXPECT_TRUE(ServerOperate);
  EXPECT_EQ(out + err, "");
}

TEST_F(CommandHandling, BellPlaysTheQuotedBellFile) {
  EXPECT_TRUE(Handle(CkaTTSServer::_TTSCMD_BELL));
  EXPECT_THAT(shell.Commands(), ElementsAre("aplay \"/opt/tts/sounds/bell.wav\""));
  EXPECT_EQ(out, "execute bell aplay \"/opt/tts/sounds/bell.wav\"\n");
  EXPECT_EQ(err, "");
}

TEST_F(CommandHandling, BellWithoutADirectoryPlaysAPathThatBeginsWithASlash) {
  server->BellFile = "/bell.wav";
  Handle(CkaTTSServer::_TTSCMD_BELL);
  EXPECT_THAT(shell.Commands(), ElementsAre("aplay \"/bell.wav\""));
}

TEST_F(CommandHandling, BellRingsWhateverThePriority) {
  server->Priority = CkaTTSServer::kPlaying;
  Handle(CkaTTSServer::_TTSCMD_BELL);
  EXPECT_EQ(shell.Commands().size(), 1U);
  EXPECT_EQ(server->Priority, 1);
}

TEST_F(CommandHandling, StopKillsBothPlayersAndLeavesThePriority) {
  server->Priority = CkaTTSServer::kPlaying;
  EXPECT_TRUE(Handle(CkaTTSServer::_TTSCMD_STOP_PLAYING));
  EXPECT_THAT(shell.Commands(), ElementsAre("killall -9 aplay", "killall -9 play"));
  EXPECT_EQ(server->Priority, 1);
  EXPECT_EQ(out + err, "");
}

TEST_F(CommandHandling, IsTrueWhateverTheCommandReturns) {
  const kaShellRunner recording = SetShellRunner([](const std::string&) { return -1; });
  for (int code = 0; code <= 5; ++code)
    EXPECT_TRUE(Handle(code)) << code;
  SetShellRunner(recording);
}

// --- The channel

TEST_F(CommandChannel, EachTextPrintsItsLineOnce) {
  EXPECT_TRUE(Receive("!stopall"));
  EXPECT_EQ(out, "new cmd: !stopall 5\n");
  EXPECT_EQ(err, "");
  EXPECT_TRUE(Receive("nothing"));
  EXPECT_EQ(out, "new cmd: nothing 0\n");
}

TEST_F(CommandChannel, CommandIsCarriedOut) {
  EXPECT_TRUE(Receive("!terminate"));
  EXPECT_EQ(out, "new cmd: !terminate 2\n");
  EXPECT_FALSE(ServerOperate);
}

TEST_F(CommandChannel, CommandIsNoPlayList) {
  Provide("!stopall");
  Receive("!stopall");
  EXPECT_THAT(shell.Commands(), ElementsAre("killall -9 aplay", "killall -9 play"));
}

TEST_F(CommandChannel, EverythingElseIsPlayed) {
  const std::string first = Provide("Ansage1");
  const std::string second = Provide("Ansage2");
  EXPECT_TRUE(Receive("Ansage1, Ansage2"));
  EXPECT_THAT(shell.Commands(), ElementsAre(first, second));
  EXPECT_EQ(out, "new cmd: Ansage1, Ansage2 0\n" + first + "\n" + second + "\n");
}

TEST_F(CommandChannel, RebootWithoutStampIsAPlayList) {
  const std::string command = Provide("!reboot");
  EXPECT_TRUE(Receive("!reboot"));
  EXPECT_THAT(shell.Commands(), ElementsAre(command));
}

TEST_F(CommandChannel, PlayListIsCutAtTheDelimiter) {
  const std::string command = Provide("Ansage1");
  Provide("Ansage2");
  EXPECT_TRUE(Receive("Ansage1///,Ansage2"));
  EXPECT_THAT(shell.Commands(), ElementsAre(command));
  EXPECT_EQ(out, "new cmd: Ansage1///,Ansage2 0\n" + command + "\n");
}

TEST_F(CommandChannel, PlaybackThatGaveUpIsAnsweredLikeAnyOther) {
  const support::FakeClock clock;
  server->SpeechBuilder.DoSaveBlock(true);
  EXPECT_TRUE(Receive("Ansage1"));
  EXPECT_EQ(err, "Zu langer Überspielzeitraum. Abspielen wurde abgebrochen!!\n");
}

TEST_F(CommandChannel, DoesNotDependOnTheLengthItIsGiven) {
  std::string text = "!stop";
  const support::CaptureOutput quiet;
  EXPECT_TRUE(CallBackOnReceiveCommand(-1, text.data(), server.operator->()));
  EXPECT_EQ(shell.Commands().size(), 2U);
}

}  // namespace
