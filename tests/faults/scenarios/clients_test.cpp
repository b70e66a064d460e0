// Clients that are silent, slow, vanish or reset. In tests/server:
// Listener.SilentClientHoldsItsPort, Hardening.SilentClientIsProbedAfterThirtySeconds,
// Hardening.VanishedClientCostsOneReport, Hardening.ClientThatResetsAtOnceIsHandledAsAnEmptyText,
// Hostile.*.

#include <netinet/tcp.h>
#include <sys/socket.h>

#include <random>

#include "fault_fixture.h"

namespace servertest {

namespace {

using testing::ElementsAre;

class ClientFault : public FaultTest {
 protected:
  std::vector<unsigned> Ports() const {
    return {stage().TextPort(), stage().DataPort(), stage().CommandPort()};
  }
};

TEST_F(ClientFault, SilentOnesOnAllPortsHoldThemUntilTheyGo) {
  Start();
  NoteDescriptors();
  std::vector<Client> silent;
  std::vector<Client> waiting;
  for (const unsigned port : Ports())
    silent.emplace_back(port);
  ASSERT_TRUE(WaitUntil([this] { return SocketCount(Pid()) == 6; }));
  for (const unsigned port : Ports())
    waiting.emplace_back(port).Send("<");
  for (const Client& client : waiting)
    EXPECT_FALSE(client.HasAnswer());
  silent[0].EndSending();
  silent[1].Vanish();
  silent[2].Send("niemand");
  for (const Client& client : waiting)
    EXPECT_EQ(client.ReceiveAll(), kReceived);
  EXPECT_EQ(silent[0].ReceiveAll(), kReceived);
  EXPECT_EQ(silent[2].ReceiveAll(), kReceived);
  ExpectAllPortsServe("ICE 1");
  ExpectNoDescriptorIsLeft();
}

// What one read returns is the message: the first bytes of a slow client are all of its message,
// and the rest reaches nobody.
TEST_F(ClientFault, SlowOnesAreReadOnceAndCostNobodyElseTheirMessage) {
  Start();
  NoteDescriptors();
  for (int round = 0; round < Rounds(10, 200); ++round) {
    const Client slow(stage().CommandPort());
    slow.Send("a");
    ASSERT_TRUE(WaitUntil([&] { return slow.HasAnswer(); }));
    try {
      slow.Send("bc");
    } catch (const std::system_error&) {  // the server's end is closed already
    }
    EXPECT_EQ(AskCommand("niemand"), kReceived);
  }
  EXPECT_EQ(CountOf(NewOut(), "new cmd: a 0\n"), static_cast<std::size_t>(Rounds(10, 200)));
  EXPECT_EQ(CountOf(NewOut(), "new cmd: niemand 0\n"), static_cast<std::size_t>(Rounds(10, 200)));
  EXPECT_EQ(CountOf(NewOut(), "new cmd: "), static_cast<std::size_t>(2 * Rounds(10, 200)));
  ExpectAllPortsServe("ICE 1");
  ExpectNoDescriptorIsLeft();
}

TEST_F(ClientFault, VanishingAndResettingOnesLeaveNothingBehind) {
  stage().Set("speakoutstub", ":");
  stage().Set("savespeechstub", ":");
  Start();
  NoteDescriptors();
  std::mt19937 random(std::random_device{}());
  for (int round = 0; round < Rounds(40, 1000); ++round) {
    Client client(Ports()[random() % 3]);
    if (random() % 4 != 0) client.Send("<rbl><row zug=\"1\"/></rbl>");
    if (random() % 2 != 0) client.EndSending();
    if (random() % 2 != 0) client.Vanish();
  }
  for (const unsigned port : Ports())
    EXPECT_EQ(Ask(port, "///"), kReceived);
  EXPECT_TRUE(server().IsRunning());
  ExpectOtherPortsServe();
  ExpectNoDescriptorIsLeft();
}

/// Makes a connection end without a word to the other side, as when the client's machine loses its
/// power. \return false where that takes more rights
bool LosePower(kaDescriptor& socket) {
  const int on = 1;
  if (setsockopt(socket.Get(), IPPROTO_TCP, TCP_REPAIR, &on, sizeof on) != 0) return false;
  socket.Close();
  return true;
}

// The first probe comes after 30 seconds; a machine that is up again answers that it knows nothing.
TEST_F(ClientFault, OneWhoseMachineLostItsPowerFreesThePortAtTheFirstProbe) {
  if (Rounds(0, 1) == 0) GTEST_SKIP() << "takes half a minute: runs in full only (KA_FAULTS=full)";
  Start();
  NoteDescriptors();
  kaDescriptor lost(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
  const sockaddr_in address = support::LoopbackAddress(stage().TextPort());
  ASSERT_EQ(connect(lost.Get(), reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
  if (!LosePower(lost)) GTEST_SKIP() << "only root can end a connection silently";
  const Client next(stage().TextPort());
  next.Send("Hallo");
  EXPECT_EQ(next.ReceiveAll(), kReceived) << "within the minute that the client has patience";
  EXPECT_EQ(MaskTimes(NewErr()), PortReport(stage().TextPort(), "ERROR reading from socket \n") +
                                     PortReport(stage().TextPort(), "ERROR answering client \n"));
  EXPECT_THAT(stubs().CallsOf("speak"), ElementsAre("speak [Hallo]"));
  ExpectNoDescriptorIsLeft();
}

}  // namespace

}  // namespace servertest
