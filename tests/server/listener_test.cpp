// How every port takes a message and answers it, seen by its clients.

#include "server_fixture.h"

namespace servertest {

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

using Listener = ServerTest;

TEST_F(Listener, AnswersAfterTheMessageWasHandledAndCloses) {
  Start();
  stubs().Hold("speak");
  const Client client(stage().TextPort());
  client.Send("Hallo");
  AwaitCalls("speak", 1);
  EXPECT_FALSE(client.HasAnswer());
  stubs().Release("speak");
  EXPECT_EQ(client.ReceiveAll(), kReceived);
}

TEST_F(Listener, EveryPortAnswersAlike) {
  Start();
  EXPECT_EQ(AskText("Hallo"), kReceived);
  EXPECT_EQ(AskData("not a block"), kReceived);
  EXPECT_EQ(AskCommand("not an announcement"), kReceived);
}

TEST_F(Listener, ReadsOncePerConnection) {
  Start();
  stubs().Hold("speak");
  const Client client(stage().TextPort());
  client.Send("Eins");
  AwaitCalls("speak", 1);
  client.Send("Zwei");
  stubs().Release("speak");
  EXPECT_EQ(client.ReceiveAll(), kReceived);
  AskText("Drei");
  EXPECT_THAT(stubs().Calls(), ElementsAre("speak [Eins]", "speak [Drei]"));
}

TEST_F(Listener, ServesTheClientsOfAPortOneAfterAnother) {
  Start();
  stubs().Hold("speak");
  const Client first(stage().TextPort());
  first.Send("Eins");
  AwaitCalls("speak", 1);
  const Client second(stage().TextPort());
  second.Send("Zwei");
  EXPECT_EQ(AskCommand("none"), kReceived) << "the other ports go on";
  EXPECT_EQ(AskData("none"), kReceived);
  EXPECT_THAT(stubs().Calls(), ElementsAre("speak [Eins]"));
  EXPECT_FALSE(second.HasAnswer());
  stubs().Release("speak");
  EXPECT_EQ(first.ReceiveAll(), kReceived);
  EXPECT_EQ(second.ReceiveAll(), kReceived);
  EXPECT_THAT(stubs().Calls(), ElementsAre("speak [Eins]", "speak [Zwei]"));
}

TEST_F(Listener, SilentClientHoldsItsPort) {
  Start();
  const Client silent(stage().TextPort());
  const Client waiting(stage().TextPort());
  waiting.Send("Hallo");
  EXPECT_EQ(AskCommand("none"), kReceived);
  EXPECT_FALSE(waiting.HasAnswer());
  silent.EndSending();
  EXPECT_EQ(waiting.ReceiveAll(), kReceived);
  EXPECT_EQ(silent.ReceiveAll(), kReceived);
}

TEST_F(Listener, BytesBeyondTheBufferAreLost) {
  Start();
  const std::string kept(11999, 'a');
  EXPECT_EQ(AskText(kept + "bcd"), kReceived);
  EXPECT_THAT(stubs().Calls(), ElementsAre("speak [" + kept + "]"));
}

TEST_F(Listener, ClientThatSaysNothingIsAnEmptyText) {
  Start();
  EXPECT_EQ(AskText(""), kReceived);
  EXPECT_EQ(AskCommand(""), kReceived);
  EXPECT_EQ(AskData(""), kReceived);
  EXPECT_EQ(NewOut(), "new cmd:  0\n");
  EXPECT_EQ(NewErr(), "Meldung Nr. 1 --- Die Meldung konnte nicht generiert werden!!!\n");
  EXPECT_THAT(stubs().Calls(), IsEmpty());
}

TEST_F(Listener, TextEndsAtItsFirstZeroByte) {
  Start();
  EXPECT_EQ(AskText(std::string_view("Hallo\0Welt", 10)), kReceived);
  EXPECT_THAT(stubs().Calls(), ElementsAre("speak [Hallo]"));
}

TEST_F(Listener, LongTextLeavesNothingForTheNextConnection) {
  Start();
  AskText("Ein langer Text");
  AskText("kurz");
  EXPECT_THAT(stubs().Calls(), ElementsAre("speak [Ein langer Text]", "speak [kurz]"));
}

}  // namespace

}  // namespace servertest
