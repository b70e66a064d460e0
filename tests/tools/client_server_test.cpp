// The client commands against the real server.

#include "client_station.h"

namespace toolstest {

namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

class ClientOfTheServer : public ClientStation {
 protected:
  Ended Run(std::vector<std::string> arguments) const {
    arguments.insert(arguments.begin() + 1, {"--station", stage().Dir()});
    return RunTool(arguments);
  }
  void Expect(const std::vector<std::string>& arguments) const {
    const Ended ended = Run(arguments);
    EXPECT_EQ(ended.Status, 0) << ended.Err;
    EXPECT_EQ(ended.Out, "received\n") << ended.Err;
  }
};

TEST_F(ClientOfTheServer, HasATextSpoken) {
  Start();
  Expect({"say", "Der Zug nach Köln fällt aus."});
  EXPECT_THAT(stubs().Calls(), ElementsAre("speak [Der Zug nach Köln fällt aus.]"));
}

TEST_F(ClientOfTheServer, HasTheLongestTextSpokenWhole) {
  Start();
  const std::string text(11999, 'x');
  Expect({"say", text});
  EXPECT_THAT(stubs().Calls(), ElementsAre("speak [" + text + "]"));
}

TEST_F(ClientOfTheServer, LeavesToTheShellOnlyWhatItIsToldTo) {
  Start();
  EXPECT_EQ(Run({"say", "$((1+1))"}).Status, 1);
  EXPECT_THAT(stubs().Calls(), IsEmpty());
  Expect({"say", "--raw", "$((1+1))"});
  EXPECT_THAT(stubs().Calls(), ElementsAre("speak [2]"));
}

TEST_F(ClientOfTheServer, EndsAnAnnouncementByAnUrgentText) {
  Start();
  stage().Write("run/play/eins.wav", "");
  stubs().Hold("aplay");
  const support::Client playing(stage().CommandPort());
  playing.Send("eins");
  AwaitCalls("aplay", 1);
  Expect({"urgent", "Achtung!"});
  EXPECT_EQ(playing.ReceiveAll(), servertest::kReceived);
  EXPECT_THAT(stubs().Calls(), ElementsAre(PlayCall("eins"), "killall [-9] [aplay]",
                                           "killall [-9] [play]", "speak [Achtung!]"));
}

TEST_F(ClientOfTheServer, HasABlockMadeAndPlayed) {
  Start();
  stage().Write("block.xml", servertest::Block({"ICE 618", "RE 1"}) + "\n");
  const Ended sent = Run({"send", stage().Dir() + "/block.xml"});
  EXPECT_EQ(sent.Out, stage().Dir() + "/block.xml: received\n");
  EXPECT_THAT(NewOut(), HasSubstr("Meldung Nr. 1 --- Meldung OK"));
  Expect({"play", "de0", "en1"});
  EXPECT_THAT(stubs().CallsOf("aplay"), ElementsAre(PlayCall("de0"), PlayCall("en1")));
}

TEST_F(ClientOfTheServer, HasALargeBlockMadeWhole) {
  Start();
  const std::string block = servertest::Block({std::string(11900, 'x')});
  stage().Write("block.xml", block);
  EXPECT_EQ(Run({"send", stage().Dir() + "/block.xml"}).Status, 0);
  EXPECT_THAT(NewOut(), HasSubstr("Meldung Nr. 1 --- Meldung OK"));
}

TEST_F(ClientOfTheServer, SendsAFaultyBlockOnlyWhenToldTo) {
  Start();
  stage().Write("block.xml", "<rbl><row>");
  EXPECT_EQ(Run({"send", stage().Dir() + "/block.xml"}).Status, 1);
  EXPECT_EQ(NewErr(), "");
  EXPECT_EQ(Run({"send", "--raw", stage().Dir() + "/block.xml"}).Status, 0);
  EXPECT_THAT(NewErr(), HasSubstr("Meldung Nr. 1 --- Die Meldung konnte nicht generiert werden"));
}

TEST_F(ClientOfTheServer, RingsTheBell) {
  Start();
  Expect({"bell"});
  EXPECT_THAT(stubs().Calls(), ElementsAre("aplay [" + stage().Sounds() + "/bell.wav]"));
}

TEST_F(ClientOfTheServer, StopsThePlayers) {
  Start();
  Expect({"stop"});
  EXPECT_THAT(stubs().Calls(), ElementsAre("killall [-9] [aplay]", "killall [-9] [play]"));
}

TEST_F(ClientOfTheServer, GivesUpAServerThatIsBusyWithAnother) {
  Start();
  stubs().Hold("speak");
  const support::Client speaking(stage().TextPort());
  speaking.Send("eins");
  AwaitCalls("speak", 1);
  EXPECT_EQ(Run({"say", "--timeout", "0.2", "zwei"}).Status, 3);
  stubs().Release("speak");
  AwaitCalls("speak", 2);
  EXPECT_THAT(stubs().Calls(), ElementsAre("speak [eins]", "speak [zwei]"))
      << "a message that is not awaited is carried out all the same";
}

TEST_F(ClientOfTheServer, TerminatesIt) {
  Start();
  EXPECT_EQ(Run({"terminate"}).Status, 0);
  EXPECT_EQ(servertest::Describe(server().AwaitEnd()), "exit 0");
  EXPECT_EQ(Run({"bell"}).Status, 2) << "nobody listens any more";
}

TEST_F(ClientOfTheServer, RestartsIt) {
  stage().Write("restart", "echo \"$*\" >restarted\n");
  Plan().WorkingDirectory = stage().Dir();
  Start();
  EXPECT_EQ(Run({"restart"}).Status, 0);
  EXPECT_EQ(servertest::Describe(server().AwaitEnd()), "exit 0");
  EXPECT_THAT(Content(stage().Dir() + "/restarted"), HasSubstr(stage().Executable()));
}

}  // namespace

}  // namespace toolstest
