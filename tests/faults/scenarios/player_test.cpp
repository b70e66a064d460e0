// Players that hang or are missing. In tests/server:
// Announcements.FailingPlayerDoesNotEndThePlayList,
// TextChannel.UrgentTextEndsThePlayListAndIsSpoken, Commands.BellBlocksThePortUntilItHasRung.

#include <filesystem>

#include "fault_fixture.h"

namespace servertest {

namespace {

using testing::ElementsAre;
using testing::HasSubstr;

class PlayerFault : public FaultTest {
 protected:
  void StartWithSpeech() {
    Start();
    ExpectBlockIsServed("ICE 1");
    stubs().ForgetCalls();
  }
};

TEST_F(PlayerFault, HangingPlayerHoldsTheCommandPortAndNewSpeechUntilAnUrgentText) {
  StartWithSpeech();
  NoteDescriptors();
  stubs().Hold("aplay");
  const Client list(stage().CommandPort());
  list.Send("de0,en0");
  AwaitCalls("aplay", 1);
  const Client command(stage().CommandPort());
  command.Send("niemand");
  const Client block(stage().DataPort());
  block.Send(Block({"ICE 2"}));
  AwaitCalls("save", 2);
  EXPECT_EQ(AskText("Hallo"), kReceived) << "and is dropped";
  EXPECT_FALSE(list.HasAnswer());
  EXPECT_EQ(PlayedSpeech("de0"), StubSpeech("DE Zug ICE 1"));

  EXPECT_EQ(AskText("!uAchtung"), kReceived);
  EXPECT_EQ(list.ReceiveAll(), kReceived);
  EXPECT_EQ(command.ReceiveAll(), kReceived);
  // The next list, played to its end, takes the play marker away.
  EXPECT_EQ(AskCommand("niemand"), kReceived);
  EXPECT_EQ(block.ReceiveAll(), kReceived);
  EXPECT_EQ(PlayedSpeech("de0"), StubSpeech("DE Zug ICE 2"));
  EXPECT_THAT(stubs().CallsOf("speak"), ElementsAre("speak [Achtung]"));
  ExpectAllPortsServe("ICE 3");
  ExpectNoDescriptorIsLeft();
}

TEST_F(PlayerFault, HangingBellHoldsTheCommandPortUntilAnUrgentText) {
  StartWithSpeech();
  stubs().Hold("aplay");
  const Client bell(stage().CommandPort());
  bell.Send("!bell");
  AwaitCalls("aplay", 1);
  ExpectBlockIsServed("ICE 2");
  EXPECT_FALSE(bell.HasAnswer());
  EXPECT_EQ(AskText("!u"), kReceived);
  EXPECT_EQ(bell.ReceiveAll(), kReceived);
  ExpectAllPortsServe("ICE 3");
}

TEST_F(PlayerFault, MissingPlayerIsReportedByTheShellForEachFile) {
  StartWithSpeech();
  const std::string player = stubs().Directory() + "/aplay";
  std::filesystem::remove(player);
  EXPECT_EQ(AskCommand("de0,en0"), kReceived);
  EXPECT_EQ(AskCommand("!bell"), kReceived);
  EXPECT_EQ(CountOf(NewErr(), ": aplay: not found\n"), 3U) << NewErr();
  EXPECT_FALSE(Exists(stage().Play() + "/playblock"));
  ExpectAllPortsServe("ICE 2");
  stubs().Add("aplay");
  EXPECT_EQ(AskCommand("de0"), kReceived);
  EXPECT_THAT(stubs().CallsOf("aplay"), ElementsAre("aplay [" + stage().Play() + "/de0.wav]"));
}

TEST_F(PlayerFault, MissingKillallLeavesTheUrgentTextSpoken) {
  StartWithSpeech();
  std::filesystem::remove(stubs().Directory() + "/killall");
  EXPECT_EQ(AskText("!uAchtung"), kReceived);
  EXPECT_EQ(AskCommand("!stop"), kReceived);
  EXPECT_EQ(CountOf(NewErr(), ": killall: not found\n"), 4U) << NewErr();
  EXPECT_THAT(stubs().CallsOf("speak"), ElementsAre("speak [Achtung]"));
  ExpectAllPortsServe("ICE 2");
}

TEST_F(PlayerFault, DefaultEngineReportsAMissingPlayerAndTheTextPortServes) {
  UseRealEngine("");
  stage().Set("speakoutstub", "./ka-espeak-ng --voice de --");
  Start();
  std::filesystem::remove(stubs().Directory() + "/aplay");
  EXPECT_EQ(AskText("Hallo"), kReceived);
  EXPECT_THAT(NewErr(), HasSubstr("ka-espeak-ng: error: "));
  EXPECT_EQ(AskText("Hallo"), kReceived);
}

}  // namespace

}  // namespace servertest
