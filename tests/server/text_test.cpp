// The text port: what is spoken, what is dropped, and what an urgent text interrupts.

#include "server_fixture.h"

namespace servertest {

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

class TextChannel : public ServerTest {
 protected:
  /// Puts an announcement into the play directory and starts to play a list of which the first one
  /// does not end before its player is released.
  void StartPlaying(const std::string& list) {
    stage().Write("run/play/eins.wav", "");
    stage().Write("run/play/zwei.wav", "");
    stubs().Hold("aplay");
    playing_ = std::make_unique<Client>(stage().CommandPort());
    playing_->Send(list);
    AwaitCalls("aplay", 1);
  }
  std::string EndPlaying() {
    stubs().Release("aplay");
    return playing_->ReceiveAll();
  }
  std::string PlayCall(const std::string& name) const {
    return "aplay [" + stage().Play() + "/" + name + ".wav]";
  }
  const std::vector<std::string> kKillCalls{"killall [-9] [aplay]", "killall [-9] [play]"};

 private:
  std::unique_ptr<Client> playing_;
};

TEST_F(TextChannel, TextUpToTheDelimiterIsSpoken) {
  Start();
  AskText("Hallo///Rest");
  EXPECT_THAT(stubs().Calls(), ElementsAre("speak [Hallo]"));
}

TEST_F(TextChannel, TextBeginningWithTheDelimiterSpeaksNothing) {
  Start();
  EXPECT_EQ(AskText("///Rest"), kReceived);
  EXPECT_THAT(stubs().Calls(), IsEmpty());
  EXPECT_EQ(NewOut(), "");
}

TEST_F(TextChannel, UrgencyAloneKillsThePlayersAndSpeaksNothing) {
  Start();
  EXPECT_EQ(AskText("!u"), kReceived);
  EXPECT_EQ(stubs().Calls(), kKillCalls);
  stage().Write("run/play/eins.wav", "");
  AskCommand("eins");
  EXPECT_THAT(stubs().CallsOf("aplay"), ElementsAre(PlayCall("eins")))
      << "the device is free again";
}

TEST_F(TextChannel, TextIsDroppedWhileAnAnnouncementIsPlayed) {
  Start();
  StartPlaying("eins");
  EXPECT_EQ(AskText("Hallo"), kReceived);
  EXPECT_EQ(EndPlaying(), kReceived);
  EXPECT_THAT(stubs().Calls(), ElementsAre(PlayCall("eins")));
  AskText("Hallo");
  EXPECT_THAT(stubs().CallsOf("speak"), ElementsAre("speak [Hallo]"));
}

TEST_F(TextChannel, UrgentTextEndsThePlayListAndIsSpoken) {
  stubs().Add("killall");  // this player ends when the test says so
  Start();
  StartPlaying("eins, zwei");
  stubs().Hold("speak");
  const Client urgent(stage().TextPort());
  urgent.Send("!uAchtung");
  AwaitCalls("speak", 1);
  EXPECT_EQ(EndPlaying(), kReceived);
  EXPECT_THAT(stubs().Calls(),
              ElementsAre(PlayCall("eins"), kKillCalls[0], kKillCalls[1], "speak [Achtung]"));
  EXPECT_THAT(Entries(stage().Play()), ElementsAre("eins.wav", "playblock", "zwei.wav"))
      << "the play marker stays";
  stubs().Release("speak");
  EXPECT_EQ(urgent.ReceiveAll(), kReceived);
}

TEST_F(TextChannel, PlayListIsDroppedWhileATextIsSpoken) {
  Start();
  stage().Write("run/play/eins.wav", "");
  stubs().Hold("speak");
  const Client client(stage().TextPort());
  client.Send("Hallo");
  AwaitCalls("speak", 1);
  EXPECT_EQ(AskCommand("eins"), kReceived);
  stubs().Release("speak");
  EXPECT_EQ(client.ReceiveAll(), kReceived);
  EXPECT_THAT(stubs().Calls(), ElementsAre("speak [Hallo]"));
  AskCommand("eins");
  EXPECT_THAT(stubs().CallsOf("aplay"), ElementsAre(PlayCall("eins")));
}

TEST_F(TextChannel, ShellInterpretsTheTextBetweenItsQuotes) {
  Start();
  AskText("$(echo eins) und `echo zwei`");
  AskText("drei\" \"vier");
  EXPECT_THAT(stubs().Calls(), ElementsAre("speak [eins und zwei]", "speak [drei] [vier]"));
  EXPECT_THAT(NewOut(), HasSubstr("\nspeakout: $(echo eins) und `echo zwei`\n"));
}

TEST_F(TextChannel, FailingEngineIsAnsweredLikeASuccess) {
  stubs().AddAt(stage().EngineDir() + "/speak", "speak", "exit 3");
  Start();
  EXPECT_EQ(AskText("Hallo"), kReceived);
  EXPECT_EQ(AskText("Nochmals"), kReceived);
  EXPECT_THAT(stubs().Calls(), ElementsAre("speak [Hallo]", "speak [Nochmals]"));
  EXPECT_EQ(NewErr(), "");
}

TEST_F(TextChannel, MissingEngineKeysLeaveTheirPlaceInTheCommandEmpty) {
  for (const char* key : {"rootDir", "engineName", "speakoutstub"})
    stage().Unset(key);
  Start();
  EXPECT_EQ(AskText("no-such-program"), kReceived);
  EXPECT_EQ(NewOut(),
            "\n################### speakout #####################\n"
            "GetValueString: rootDir=Not Found\n"
            "GetValueString: engineName=Not Found\n"
            "GetValueString: speakout=Not Found\n"
            "\nspeakout: no-such-program\ncmd: cd ;  \"no-such-program\"\n");
}

}  // namespace

}  // namespace servertest
