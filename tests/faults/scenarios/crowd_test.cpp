// A thousand clients at once on one port. Whom the kernel admits is answered; the backlog of five
// is kept on purpose, so that some are turned away while the server works.

#include <arpa/inet.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/resource.h>
#include <sys/socket.h>

#include <algorithm>
#include <cerrno>
#include <iostream>
#include <map>
#include <set>

#include "fault_fixture.h"

namespace servertest {

namespace {

using Clock = std::chrono::steady_clock;

/// One of the crowd: connects without waiting, sends its message and collects the answer.
class Visitor {
 public:
  Visitor(unsigned port, std::string message) : message_(std::move(message)) {
    socket_ = kaDescriptor(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    const sockaddr_in address = support::LoopbackAddress(port);
    if (connect(socket_.Get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0 &&
        errno != EINPROGRESS) {
      socket_.Close();
    }
  }

  const std::string& Message() const { return message_; }
  const std::string& Answer() const { return answer_; }
  /// Whether its connection has ended, in whatever way.
  bool IsThrough() const { return !socket_.IsValid(); }
  /// Goes home; nothing of its message is sent any more.
  void GiveUp() {
    const linger hard{1, 0};
    setsockopt(socket_.Get(), SOL_SOCKET, SO_LINGER, &hard, sizeof hard);
    socket_.Close();
    gaveUp_ = true;
  }
  bool GaveUp() const { return gaveUp_; }
  unsigned LocalPort() const {
    sockaddr_in address{};
    socklen_t size = sizeof address;
    getsockname(socket_.Get(), reinterpret_cast<sockaddr*>(&address), &size);
    return ntohs(address.sin_port);
  }

  pollfd Wish() const {
    return {socket_.Get(), static_cast<short>(connected_ ? POLLIN : POLLOUT), 0};
  }
  void GoOn() {
    if (connected_) {
      Receive();
    } else {
      SendMessage();
    }
  }

 private:
  void SendMessage() {
    const ssize_t sent = send(socket_.Get(), message_.data(), message_.size(), MSG_NOSIGNAL);
    connected_ = sent == static_cast<ssize_t>(message_.size());
    if (!connected_) socket_.Close();
  }
  void Receive() {
    char buffer[64];
    const ssize_t count = recv(socket_.Get(), buffer, sizeof buffer, 0);
    if (count > 0) {
      answer_.append(buffer, static_cast<std::size_t>(count));
    } else {
      socket_.Close();
    }
  }

  std::string message_;
  std::string answer_;
  kaDescriptor socket_;
  bool connected_ = false;
  bool gaveUp_ = false;
};

struct Port {
  const char* Name;
  unsigned (Stage::*Number)() const;
  /// The message of a visitor, and the line by which the server shows that it has handled it; @ is
  /// the visitor's name.
  const char* Message;
  const char* Trace;
};

class Crowd : public FaultTest, public testing::WithParamInterface<Port> {
 protected:
  Crowd() {
    // Nothing that takes long: what is tried is the port.
    stage().Set("speakoutstub", ":");
    stage().Set("savespeechstub", stage().EngineDir() + "/trace");
    stubs().AddReal("cat");
    stage().Write("engines/stub/trace", "#!/bin/sh\nexec /bin/cat \"$1\"\n");
    std::filesystem::permissions(stage().EngineDir() + "/trace", std::filesystem::perms(0755));
    rlimit limit{};
    getrlimit(RLIMIT_NOFILE, &limit);
    limit.rlim_cur = limit.rlim_max;
    setrlimit(RLIMIT_NOFILE, &limit);
  }

  unsigned PortNumber() const { return (stage().*GetParam().Number)(); }
  static std::string NameOf(std::size_t number) { return "Gast" + std::to_string(10000 + number); }

  void LetInAtOnce(std::size_t count) {
    for (std::size_t number = 0; number < count; ++number) {
      visitors_.emplace_back(PortNumber(), Replaced(GetParam().Message, "@", NameOf(number)));
    }
  }
  /// Serves the crowd. When the patience ends those go home whom the kernel has not let in: its end
  /// of their connection is missing, though they may take themselves for connected.
  void AwaitEnd(std::chrono::seconds patience) {
    const Clock::time_point end = Clock::now() + patience;
    const Clock::time_point veryEnd = end + std::chrono::minutes(1);
    while (StepOn() && Clock::now() < veryEnd) {
      if (Clock::now() > end) SendHomeWhoIsNotLetIn();
    }
    EXPECT_TRUE(std::all_of(visitors_.begin(), visitors_.end(),
                            [](const Visitor& visitor) { return visitor.IsThrough(); }));
  }

  /// How often the server has handled each visitor's message.
  std::map<std::string, int> Handled() const {
    std::map<std::string, int> handled;
    const std::string out = Out();
    for (std::size_t number = 0; number < visitors_.size(); ++number) {
      const std::string name = NameOf(number);
      handled[name] = static_cast<int>(CountOf(out, Replaced(GetParam().Trace, "@", name)));
    }
    return handled;
  }
  const std::vector<Visitor>& Visitors() const { return visitors_; }

 private:
  void SendHomeWhoIsNotLetIn() {
    constexpr unsigned kEstablished = 1;
    std::set<unsigned> letIn;
    for (const TcpSocket& socket : TcpSockets(Pid())) {
      if (socket.Port == PortNumber() && socket.State == kEstablished)
        letIn.insert(socket.PeerPort);
    }
    for (Visitor& visitor : visitors_) {
      if (!visitor.IsThrough() && !letIn.contains(visitor.LocalPort())) visitor.GiveUp();
    }
  }
  /// Lets everybody go on who can. \return whether anybody is left
  bool StepOn() {
    std::vector<pollfd> wishes;
    std::vector<Visitor*> waiting;
    for (Visitor& visitor : visitors_) {
      if (visitor.IsThrough()) continue;
      wishes.push_back(visitor.Wish());
      waiting.push_back(&visitor);
    }
    poll(wishes.data(), wishes.size(), 100);
    for (std::size_t i = 0; i < wishes.size(); ++i) {
      if (wishes[i].revents != 0) waiting[i]->GoOn();
    }
    return !waiting.empty();
  }

  std::vector<Visitor> visitors_;
};

/// Segments that had to be sent again, the connecting one included.
unsigned Retransmissions(int socket) {
  tcp_info info{};
  socklen_t size = sizeof info;
  EXPECT_EQ(getsockopt(socket, IPPROTO_TCP, TCP_INFO, &info, &size), 0);
  return info.tcpi_total_retrans;
}

TEST_P(Crowd, IsAnsweredOnceEachAsFarAsTheKernelLetsItIn) {
  Start();
  NoteDescriptors();
  LetInAtOnce(static_cast<std::size_t>(Rounds(60, 1000)));
  AwaitEnd(std::chrono::seconds(Rounds(2, 60)));
  const std::map<std::string, int> handled = Handled();
  std::size_t answered = 0;
  for (std::size_t number = 0; number < Visitors().size(); ++number) {
    const Visitor& visitor = Visitors()[number];
    const int times = handled.at(NameOf(number));
    if (visitor.GaveUp() && visitor.Answer().empty()) {
      // The kernel may have let it in while it was leaving.
      EXPECT_LE(times, 1) << NameOf(number);
    } else {
      EXPECT_EQ(times, 1) << NameOf(number);
      EXPECT_EQ(visitor.Answer(), kReceived) << NameOf(number);
      ++answered;
    }
  }
  std::cout << answered << " of " << Visitors().size() << " were let in, each was answered once\n";
  EXPECT_GT(answered, 6U);
  ExpectNoDescriptorIsLeft();

  // A second later a new client need not even knock twice.
  std::this_thread::sleep_for(std::chrono::seconds(1));
  kaDescriptor late(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
  const sockaddr_in address = support::LoopbackAddress(PortNumber());
  ASSERT_EQ(connect(late.Get(), reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
  ASSERT_EQ(send(late.Get(), "///", 3, 0), 3);
  EXPECT_EQ(ReadAll(late.Get()), kReceived);
  EXPECT_EQ(Retransmissions(late.Get()), 0U);
  EXPECT_TRUE(server().IsRunning());
}

INSTANTIATE_TEST_SUITE_P(
    Ports, Crowd,
    testing::Values(Port{"Text", &Stage::TextPort, "@", "\nspeakout: @\n"},
                    Port{"Data", &Stage::DataPort, "<rbl><row zug=\"@\"/></rbl>", "DE Zug @"},
                    Port{"Command", &Stage::CommandPort, "@", "new cmd: @ 0\n"}),
    [](const auto& value) { return std::string(value.param.Name); });

}  // namespace

}  // namespace servertest
