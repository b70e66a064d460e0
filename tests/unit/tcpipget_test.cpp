#include "kaTCPIPGet.h"

#include <gmock/gmock.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <unistd.h>

#include <fcntl.h>
#include <array>
#include <condition_variable>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <iostream>
#include <memory>
#include <mutex>
#include <set>
#include <stdexcept>
#include <string>
#include <system_error>
#include <thread>
#include <type_traits>
#include <vector>

#include "support/capture_output.h"
#include "support/end_child.h"
#include "support/fake_clock.h"
#include "support/loopback.h"
#include "support/temp_dir.h"
#include "support/wait_until.h"

namespace {

using support::Client;
using support::Exchange;
using support::WaitUntil;
using ::testing::ElementsAre;
using ::testing::SizeIs;

constexpr const char* kAnswer = "received\n";

static_assert(std::is_base_of_v<CkaSuperior, CkaTCPIPGet>);

/// The owner of a listener: notes what its callback gets, and does with it what the test wants.
class Receiver {
 public:
  static bool CallBack(int buflen, void* buffer, void* pThis) {
    return static_cast<Receiver*>(pThis)->Receive(buflen, static_cast<const char*>(buffer));
  }

  /// `action` runs in each callback, on the listener's thread. Set it before the listener starts.
  void OnText(std::function<void(const std::string&)> action) { action_ = std::move(action); }

  /// Keeps the callbacks from returning until Release.
  void Hold() { SetHeld(true); }
  void Release() { SetHeld(false); }

  std::vector<std::string> Texts() const {
    const std::lock_guard lock(mutex_);
    return texts_;
  }

  std::vector<int> Lengths() const {
    const std::lock_guard lock(mutex_);
    return lengths_;
  }

  bool WaitForTexts(std::size_t count) const {
    return WaitUntil([&] { return Texts().size() >= count; });
  }

 private:
  void SetHeld(bool held) {
    {
      const std::lock_guard lock(mutex_);
      held_ = held;
    }
    released_.notify_all();
  }

  bool Receive(int buflen, const std::string& text) {
    {
      std::unique_lock lock(mutex_);
      lengths_.push_back(buflen);
      texts_.push_back(text);
      released_.wait(lock, [&] { return !held_; });
    }
    if (action_) action_(text);
    return false;
  }

  mutable std::mutex mutex_;
  std::condition_variable released_;
  bool held_ = false;
  std::vector<int> lengths_;
  std::vector<std::string> texts_;
  std::function<void(const std::string&)> action_;
};

/// A listener with its owner. Once started it serves until the process ends, so it is never
/// destroyed.
struct Station {
  unsigned port = support::FreePort();
  CkaTCPIPGet listener;
  Receiver receiver;

  void Start() {
    EXPECT_TRUE(listener.SetPortNum(port));
    EXPECT_TRUE(listener.OpenServerThread(Receiver::CallBack, &receiver));
  }
};

Station& NewStation() {
  static auto* stations = new std::vector<std::unique_ptr<Station>>;
  return *stations->emplace_back(std::make_unique<Station>());
}

Station& StartedStation() {
  Station& station = NewStation();
  station.Start();
  return station;
}

/// An option of a socket.
int Option(int socket, int level, int name) {
  int value = -1;
  socklen_t size = sizeof value;
  getsockopt(socket, level, name, &value, &size);
  return value;
}

sockaddr_in AddressOf(int socket) {
  sockaddr_in address{};
  socklen_t size = sizeof address;
  if (getsockname(socket, reinterpret_cast<sockaddr*>(&address), &size) != 0) address = {};
  return address;
}

/// This process's sockets that wait for connections.
std::set<int> ListeningSockets() {
  std::set<int> found;
  for (int fd = 0; fd < 1024; ++fd) {
    if (Option(fd, SOL_SOCKET, SO_ACCEPTCONN) == 1) found.insert(fd);
  }
  return found;
}

/// The listening sockets that were not there `before`.
std::vector<int> NewListeningSockets(const std::set<int>& before) {
  std::vector<int> found;
  for (const int fd : ListeningSockets()) {
    if (!before.contains(fd)) found.push_back(fd);
  }
  return found;
}

/// This process's accepted connection at `port`, -1 if there is none.
int AcceptedSocket(unsigned port) {
  for (int fd = 0; fd < 1024; ++fd) {
    if (Option(fd, SOL_SOCKET, SO_ACCEPTCONN) == 0 && ntohs(AddressOf(fd).sin_port) == port) {
      return fd;
    }
  }
  return -1;
}

bool IsClosedOnExec(int fd) {
  return (fcntl(fd, F_GETFD) & FD_CLOEXEC) != 0;
}

/// Waits on the listener's thread until the client of its present connection is known to be gone.
void AwaitReset(unsigned port) {
  pollfd state{AcceptedSocket(port), 0, 0};
  EXPECT_TRUE(WaitUntil([&] { return poll(&state, 1, 0) == 1; }));
}

/// Whether the system still has the server's end of a connection.
bool IsConnected(unsigned port, unsigned clientPort) {
  std::array<char, 32> line{};
  std::snprintf(line.data(), line.size(), "0100007F:%04X 0100007F:%04X", port, clientPort);
  return support::ReadFile("/proc/net/tcp").find(line.data()) != std::string::npos;
}

/// A report without its time stamp.
std::string Report(unsigned port, const std::string& message) {
  return "Port: " + std::to_string(port) + " --- TIME --- " + message;
}

/// What was reported, with TIME in place of each stamp.
std::string WithoutStamps(std::string text) {
  constexpr std::size_t kStamp = 24;
  const std::string separator = " --- ";
  for (std::size_t at = text.find("Port: "); at != std::string::npos;
       at = text.find("Port: ", at + 1)) {
    const std::size_t begin = text.find(separator, at) + separator.size();
    if (text.compare(begin + kStamp, separator.size(), separator) == 0) {
      text.replace(begin, kStamp, "TIME");
    }
  }
  return text;
}

/// While it lives, the process gets no new descriptor; those that it has stay.
class NoDescriptors {
 public:
  NoDescriptors() {
    getrlimit(RLIMIT_NOFILE, &before_);
    const rlimit standardStreams{3, before_.rlim_max};
    setrlimit(RLIMIT_NOFILE, &standardStreams);
  }
  ~NoDescriptors() { setrlimit(RLIMIT_NOFILE, &before_); }
  NoDescriptors(const NoDescriptors&) = delete;
  NoDescriptors& operator=(const NoDescriptors&) = delete;

 private:
  rlimit before_{};
};

/// Runs `body` in a process of its own, where no listener of another test can notice.
void RunInOwnProcess(const std::function<void()>& body) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(
      {
        body();
        support::EndChild(::testing::Test::HasFailure() ? 1 : 0);
      },
      ::testing::ExitedWithCode(0), "");
}

// --- State

TEST(ListenerPort, IsFiftyThousandUnlessAnotherIsGiven) {
  const CkaTCPIPGet listener;
  EXPECT_EQ(listener.nPortNum, 50000U);
  EXPECT_TRUE(listener.IsInitialized());
  EXPECT_FALSE(listener.IsOn());
  EXPECT_EQ(listener.GetClassMsgID(), 8000U);
  EXPECT_EQ(CkaTCPIPGet(4711).nPortNum, 4711U);
  EXPECT_TRUE(CkaTCPIPGet(65534).IsInitialized());
}

TEST(ListenerPort, RefusesZeroAndTheLastNumber) {
  CkaTCPIPGet listener;
  EXPECT_TRUE(listener.SetPortNum(65534));
  EXPECT_FALSE(listener.SetPortNum(65535));
  EXPECT_FALSE(listener.SetPortNum(65536));
  EXPECT_FALSE(listener.SetPortNum(0));
  EXPECT_EQ(listener.nPortNum, 65534U) << "the old port stays";
  EXPECT_TRUE(listener.SetPortNum(1));
  EXPECT_EQ(listener.nPortNum, 1U);
}

TEST(ListenerPort, RefusedAtConstructionLeavesNone) {
  for (const unsigned port : {0U, 65535U}) {
    CkaTCPIPGet listener(port);
    EXPECT_FALSE(listener.IsInitialized());
    EXPECT_EQ(listener.nPortNum, 999999U);
    EXPECT_FALSE(listener.OpenServerThread(Receiver::CallBack, nullptr));
    EXPECT_FALSE(listener.OpenServerThread());
    EXPECT_FALSE(listener.IsOn());
  }
}

TEST(ListenerPort, SetLaterDoesNotInitialise) {
  CkaTCPIPGet listener(0);
  EXPECT_TRUE(listener.SetPortNum(4711));
  EXPECT_FALSE(listener.IsInitialized());
  EXPECT_FALSE(listener.OpenServerThread());
  listener.Initialize();
  EXPECT_TRUE(listener.IsInitialized());
  EXPECT_EQ(listener.nPortNum, 50000U);
}

TEST(ListenerThread, NotStartedIsClosedAtOnce) {
  CkaTCPIPGet listener;
  EXPECT_TRUE(listener.CloseServerThread());
  EXPECT_FALSE(listener.IsOn());
}

TEST(ListenerThread, IsStartedOnce) {
  Station& station = StartedStation();
  EXPECT_TRUE(station.listener.IsOn());
  EXPECT_FALSE(station.listener.OpenServerThread(Receiver::CallBack, &station.receiver));
  EXPECT_FALSE(station.listener.OpenServerThread());
  EXPECT_EQ(Exchange(station.port, "x"), kAnswer);
}

TEST(ListenerThread, GetsPortCallbackAndOwner) {
  Station& station = StartedStation();
  EXPECT_EQ(station.listener.sock_data.PortNum, station.port);
  EXPECT_EQ(station.listener.sock_data.CallBackFunction, &Receiver::CallBack);
  EXPECT_EQ(station.listener.sock_data.PCaller, &station.receiver);
  EXPECT_EQ(Exchange(station.port, "x"), kAnswer);
}

TEST(ListenerThread, KeepsItsPortWhenAnotherIsSet) {
  Station& station = StartedStation();
  EXPECT_TRUE(station.listener.SetPortNum(support::FreePort()));
  EXPECT_EQ(Exchange(station.port, "x"), kAnswer);
}

// --- One message

TEST(ListenerMessage, IsAnsweredAfterTheCallbackReturnedAndClosed) {
  Station& station = NewStation();
  station.receiver.Hold();
  station.Start();
  const Client client(station.port);
  client.Send("Hallo");
  ASSERT_TRUE(station.receiver.WaitForTexts(1));
  EXPECT_FALSE(client.HasAnswer());
  station.receiver.Release();
  EXPECT_EQ(client.ReceiveAll(), kAnswer);
  EXPECT_THAT(station.receiver.Texts(), ElementsAre("Hallo"));
}

TEST(ListenerMessage, CallbackGetsTheFixedLengthFortyWhateverTheText) {
  Station& station = StartedStation();
  Exchange(station.port, "a");
  Exchange(station.port, std::string(100, 'b'));
  EXPECT_THAT(station.receiver.Lengths(), ElementsAre(40, 40));
  EXPECT_THAT(station.receiver.Texts(), ElementsAre("a", std::string(100, 'b')));
}

TEST(ListenerMessage, NothingReportsAServedClient) {
  const support::CaptureOutput output;
  Station& station = StartedStation();
  EXPECT_EQ(Exchange(station.port, "x"), kAnswer) << "although its callback returned false";
  EXPECT_EQ(output.Out() + output.Err(), "");
}

TEST(ListenerMessage, OfAClientThatSendsNothingIsEmpty) {
  const support::CaptureOutput output;
  Station& station = StartedStation();
  const Client client(station.port);
  client.EndSending();
  EXPECT_EQ(client.ReceiveAll(), kAnswer);
  { const Client closes(station.port); }
  ASSERT_TRUE(station.receiver.WaitForTexts(2));
  EXPECT_THAT(station.receiver.Texts(), ElementsAre("", ""));
  EXPECT_EQ(Exchange(station.port, "x"), kAnswer);
}

TEST(ListenerMessage, IsWhatOneReadReturns) {
  Station& station = NewStation();
  station.receiver.Hold();
  station.Start();
  const Client client(station.port);
  client.Send("first");
  ASSERT_TRUE(station.receiver.WaitForTexts(1));
  client.Send(" second");
  station.receiver.Release();
  EXPECT_EQ(client.ReceiveAll(), kAnswer);
  EXPECT_EQ(Exchange(station.port, "next"), kAnswer);
  EXPECT_THAT(station.receiver.Texts(), ElementsAre("first", "next"));
}

TEST(ListenerMessage, EndsAtAZeroByte) {
  Station& station = StartedStation();
  EXPECT_EQ(Exchange(station.port, std::string("ab\0cd", 5)), kAnswer);
  EXPECT_THAT(station.receiver.Texts(), ElementsAre("ab"));
}

TEST(ListenerMessage, IsCutAfter11999Bytes) {
  Station& station = NewStation();
  station.receiver.Hold();
  station.Start();
  const Client first(station.port);
  first.Send("first");
  ASSERT_TRUE(station.receiver.WaitForTexts(1));

  std::string text;
  while (text.size() < 12500)
    text += std::to_string(text.size()) + " ";
  const Client client(station.port);
  client.Send(text);
  ASSERT_TRUE(WaitUntil([&] { return client.IsDelivered(); }));
  station.receiver.Release();
  EXPECT_EQ(client.ReceiveAll(), kAnswer);
  ASSERT_THAT(station.receiver.Texts(), SizeIs(2));
  EXPECT_EQ(station.receiver.Texts()[1], text.substr(0, 11999));
}

TEST(ListenerMessage, HoldsNothingOfALongerOneBefore) {
  Station& station = StartedStation();
  Exchange(station.port, std::string(500, 'x'));
  Exchange(station.port, "short");
  EXPECT_EQ(station.receiver.Texts().back(), "short");
}

TEST(ListenerMessage, WaitsUntilTheOneBeforeIsDone) {
  Station& station = NewStation();
  station.receiver.Hold();
  station.Start();
  const Client first(station.port);
  first.Send("first");
  ASSERT_TRUE(station.receiver.WaitForTexts(1));
  const Client second(station.port);
  second.Send("second");
  ASSERT_TRUE(WaitUntil([&] { return second.IsDelivered(); }));
  EXPECT_THAT(station.receiver.Texts(), ElementsAre("first"));
  EXPECT_FALSE(second.HasAnswer());
  station.receiver.Release();
  EXPECT_EQ(first.ReceiveAll(), kAnswer);
  EXPECT_EQ(second.ReceiveAll(), kAnswer);
  EXPECT_THAT(station.receiver.Texts(), ElementsAre("first", "second"));
}

/// Sends `block` in single segments; a connection that is closed too early ends the sending.
void SendInSegments(unsigned port, const std::string& block) {
  const Client client(port, 1000);
  const std::size_t segment = client.SegmentSize();
  ASSERT_LE(segment, 1000U);
  try {
    for (std::size_t at = 0; at < block.size(); at += segment) {
      client.Send(std::string_view(block).substr(at, segment));
      std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    EXPECT_EQ(client.ReceiveAll(), kAnswer);
  } catch (const std::system_error& error) {
    std::cout << "the block was cut: " << error.what() << "\n";
  }
}

TEST(ListenerMessage, OfSeveralSegmentsIsReadWhole) {
  Station& station = StartedStation();
  std::string block;
  while (block.size() < 8192)
    block += std::to_string(block.size()) + " ";
  // Twenty milliseconds end the listener's waiting: a busy machine may cut a block, but not ten in
  // a row.
  bool whole = false;
  for (std::size_t attempt = 1; attempt <= 10 && !whole; ++attempt) {
    SendInSegments(station.port, block);
    ASSERT_TRUE(station.receiver.WaitForTexts(attempt));
    whole = station.receiver.Texts().back() == block;
  }
  EXPECT_TRUE(whole) << "last read: " << station.receiver.Texts().back().size() << " bytes";
}

TEST(ListenerMessage, OfExactlyOneSegmentIsRead) {
  Station& station = StartedStation();
  const Client client(station.port, 1000);
  const std::string text(client.SegmentSize(), 'x');
  client.Send(text);
  EXPECT_EQ(client.ReceiveAll(), kAnswer);
  EXPECT_THAT(station.receiver.Texts(), ElementsAre(text));
}

TEST(ListenerMessage, SurplusBytesDoNotCostTheClientItsAnswer) {
  const support::CaptureOutput output;
  Station& station = NewStation();
  station.receiver.Hold();
  station.Start();
  const Client client(station.port);
  client.Send(std::string(60000, 'x'));
  ASSERT_TRUE(station.receiver.WaitForTexts(1));
  ASSERT_TRUE(WaitUntil([&] { return client.IsDelivered(); }));
  station.receiver.Release();
  EXPECT_EQ(client.ReceiveAll(), kAnswer);
  EXPECT_THAT(station.receiver.Texts(), SizeIs(1)) << "the first read only";
  EXPECT_EQ(output.Err(), "");
}

// --- Reports

TEST(ListenerReport, WithoutCallbackShowsTheText) {
  const support::FakeClock clock;
  const support::CaptureOutput output;
  Station& station = NewStation();
  station.listener.SetPortNum(station.port);
  EXPECT_TRUE(station.listener.OpenServerThread());
  EXPECT_EQ(station.listener.sock_data.CallBackFunction, nullptr);
  EXPECT_EQ(station.listener.sock_data.PCaller, nullptr);
  EXPECT_EQ(Exchange(station.port, "Grüße\nzwei"), kAnswer);
  EXPECT_EQ(
      WithoutStamps(output.Err()),
      Report(station.port, "Keine Callbackfunktion - der empfangene Text lautet: Grüße\nzwei\n"));
  EXPECT_EQ(output.Out(), "");
}

TEST(ListenerReport, CarriesTheLocalTimeOfTheMoment) {
  // NOLINTNEXTLINE(concurrency-mt-unsafe): no other thread looks at the environment
  setenv("TZ", "XYZ-5:30", 1);
  tzset();
  support::FakeClock clock;
  const support::CaptureOutput output;
  Station& station = NewStation();
  station.listener.SetPortNum(station.port);
  station.listener.OpenServerThread();
  Exchange(station.port, "x");
  const std::size_t before = output.Err().size();
  clock.Set(1'701'400'000);
  Exchange(station.port, "y");
  EXPECT_EQ(output.Err().substr(before),
            "Port: " + std::to_string(station.port) +
                " --- Fri Dec  1 08:36:40 2023 --- "
                "Keine Callbackfunktion - der empfangene Text lautet: y\n");
}

/// What a listener reports that is started without descriptors, until its second pause.
std::string ReportsOfAStartWithoutDescriptors(Station& station) {
  support::FakeClock clock(1'701'400'000);
  clock.AdvanceWithEachLook(1);
  clock.OnSleep([](std::size_t count) {
    if (count < 2) return;
    for (;;)
      pause();
  });
  const support::CaptureOutput output;
  const NoDescriptors none;
  station.Start();
  EXPECT_TRUE(WaitUntil([&] { return clock.Sleeps().size() == 2; }));
  return output.Err();
}

TEST(ListenerReport, OfASocketThatCannotBeOpenedIsFollowedByAllThatFailWithIt) {
  RunInOwnProcess([] {
    // NOLINTNEXTLINE(concurrency-mt-unsafe): no other thread looks at the environment
    setenv("TZ", "UTC0", 1);
    tzset();
    Station& station = NewStation();
    const auto report = [&](int second, const std::string& message) {
      return "Port: " + std::to_string(station.port) + " --- Fri Dec  1 03:06:4" +
             std::to_string(second) + " 2023 --- " + message;
    };
    EXPECT_EQ(
        ReportsOfAStartWithoutDescriptors(station),
        report(0, "ERROR opening socket \n") + report(0, "setsockopt(SO_REUSEADDR) failed \n") +
            report(0, "setsockopt(SO_REUSEPORT) failed \n") + report(0, "ERROR on binding\n") +  //
            report(1, "ERROR on accept\n") + report(2, "ERROR reading from socket \n") +
            report(3, "ERROR answering client \n") +  //
            report(4, "ERROR on accept\n") + report(5, "ERROR reading from socket \n") +
            report(6, "ERROR answering client \n"));
    EXPECT_THAT(station.receiver.Texts(), ElementsAre("", ""));
  });
}

TEST(ListenerReport, OfAConnectionResetBeforeItWasReadComesWithAnEmptyText) {
  const support::CaptureOutput output;
  Station& station = NewStation();
  station.receiver.Hold();
  station.Start();
  const Client first(station.port);
  first.Send("first");
  ASSERT_TRUE(station.receiver.WaitForTexts(1));
  Client vanishing(station.port);
  const unsigned clientPort = vanishing.LocalPort();
  vanishing.Vanish();
  ASSERT_TRUE(WaitUntil([&] { return !IsConnected(station.port, clientPort); }));
  station.receiver.Release();
  EXPECT_EQ(Exchange(station.port, "last"), kAnswer);
  EXPECT_THAT(station.receiver.Texts(), ElementsAre("first", "", "last"));
  EXPECT_EQ(WithoutStamps(output.Err()), Report(station.port, "ERROR reading from socket \n") +
                                             Report(station.port, "ERROR answering client \n"));
}

// --- Clients that vanish

class VanishedClient : public ::testing::TestWithParam<bool> {};

TEST_P(VanishedClient, CostsOneReport) {
  const bool endsSendingFirst = GetParam();
  const support::CaptureOutput output;
  Station& station = NewStation();
  station.receiver.Hold();
  station.receiver.OnText([&station](const std::string& text) {
    if (text == "gone") AwaitReset(station.port);
  });
  station.Start();
  Client client(station.port);
  client.Send("gone");
  ASSERT_TRUE(station.receiver.WaitForTexts(1));
  if (endsSendingFirst) client.EndSending();
  client.Vanish();
  station.receiver.Release();
  EXPECT_EQ(Exchange(station.port, "next"), kAnswer);
  EXPECT_EQ(WithoutStamps(output.Err()), Report(station.port, "ERROR answering client \n"));
}

INSTANTIATE_TEST_SUITE_P(AfterEndOfSendingOrNot, VanishedClient, ::testing::Bool());

// --- Callbacks that throw

class ThrowingCallback : public ::testing::Test {
 protected:
  /// A listener whose callback does `action` with the text "bad".
  static Station& StartWith(const std::function<void()>& action) {
    Station& station = NewStation();
    station.receiver.OnText([action](const std::string& text) {
      if (text == "bad") action();
    });
    station.Start();
    return station;
  }
};

TEST_F(ThrowingCallback, IsContainedReportedAndAnswered) {
  const support::CaptureOutput output;
  Station& station = StartWith([] { throw std::out_of_range("no such row"); });
  EXPECT_EQ(Exchange(station.port, "bad"), kAnswer);
  EXPECT_EQ(Exchange(station.port, "good"), kAnswer);
  EXPECT_EQ(WithoutStamps(output.Err()),
            Report(station.port, "ERROR processing message: no such row\n"));
  EXPECT_EQ(output.Out(), "");
}

TEST_F(ThrowingCallback, OfAnyTypeDoesNotEndTheListener) {
  const support::CaptureOutput quiet;
  Station& station = StartWith([] { throw 5; });
  EXPECT_EQ(Exchange(station.port, "bad"), kAnswer);
  EXPECT_EQ(Exchange(station.port, "good"), kAnswer);
}

// --- Sockets

TEST(ListenerSocket, IsOpenToTheNetworkSharedAndNotInherited) {
  const std::set<int> before = ListeningSockets();
  Station& station = StartedStation();
  Exchange(station.port, "x");
  const std::vector<int> sockets = NewListeningSockets(before);
  ASSERT_THAT(sockets, SizeIs(1));
  const int listening = sockets.front();
  EXPECT_EQ(AddressOf(listening).sin_addr.s_addr, htonl(INADDR_ANY));
  EXPECT_EQ(ntohs(AddressOf(listening).sin_port), station.port);
  EXPECT_EQ(Option(listening, SOL_SOCKET, SO_REUSEADDR), 1);
  EXPECT_EQ(Option(listening, SOL_SOCKET, SO_REUSEPORT), 1);
  EXPECT_TRUE(IsClosedOnExec(listening));
}

TEST(ListenerSocket, ConnectionIsNotInherited) {
  Station& station = NewStation();
  bool closedOnExec = false;
  station.receiver.OnText(
      [&](const std::string&) { closedOnExec = IsClosedOnExec(AcceptedSocket(station.port)); });
  station.Start();
  EXPECT_EQ(Exchange(station.port, "x"), kAnswer);
  EXPECT_TRUE(closedOnExec);
}

TEST(ListenerSocket, ConnectionOfADeadPeerIsFoundOut) {
  Station& station = NewStation();
  std::vector<int> options;
  station.receiver.OnText([&](const std::string&) {
    const int connection = AcceptedSocket(station.port);
    options = {Option(connection, SOL_SOCKET, SO_KEEPALIVE),
               Option(connection, IPPROTO_TCP, TCP_KEEPIDLE),
               Option(connection, IPPROTO_TCP, TCP_KEEPINTVL),
               Option(connection, IPPROTO_TCP, TCP_KEEPCNT)};
  });
  station.Start();
  EXPECT_EQ(Exchange(station.port, "x"), kAnswer);
  ASSERT_THAT(options, SizeIs(4));
  EXPECT_NE(options[0], 0);
  EXPECT_EQ(options[1], 30);
  EXPECT_EQ(options[2], 10);
  EXPECT_EQ(options[3], 3);
}

TEST(ListenerSocket, ConnectionIsClosedAfterItsAnswer) {
  Station& station = StartedStation();
  EXPECT_EQ(Exchange(station.port, "x"), kAnswer);
  EXPECT_TRUE(WaitUntil([&] { return AcceptedSocket(station.port) == -1; }));
}

TEST(ListenerSocket, SecondListenerSharesThePortSilently) {
  const std::set<int> before = ListeningSockets();
  const support::CaptureOutput output;
  Station& first = StartedStation();
  Station& second = NewStation();
  second.port = first.port;
  second.Start();
  EXPECT_TRUE(WaitUntil([&] { return NewListeningSockets(before).size() == 2; }));
  EXPECT_EQ(Exchange(first.port, "x"), kAnswer);
  EXPECT_EQ(first.receiver.Texts().size() + second.receiver.Texts().size(), 1U);
  EXPECT_EQ(output.Err(), "");
}

TEST(ListenerSocket, PortInUseIsReportedWithTheStartStampAndTheThreadGoesOnWithoutIt) {
  // NOLINTNEXTLINE(concurrency-mt-unsafe): no other thread looks at the environment
  setenv("TZ", "UTC0", 1);
  tzset();
  support::FakeClock clock(1'701'400'000);
  clock.AdvanceWithEachLook(1);
  const support::PortBlocker blocker;
  const std::set<int> before = ListeningSockets();
  const support::CaptureOutput output;
  Station& station = NewStation();
  station.port = blocker.Port();
  station.Start();
  ASSERT_TRUE(WaitUntil([&] { return NewListeningSockets(before).size() == 1; }));
  EXPECT_EQ(output.Err(), "Port: " + std::to_string(station.port) +
                              " --- Fri Dec  1 03:06:40 2023 --- ERROR on binding\n");

  const sockaddr_in address = AddressOf(NewListeningSockets(before).front());
  EXPECT_EQ(address.sin_addr.s_addr, htonl(INADDR_LOOPBACK)) << "nothing is open to the network";
  EXPECT_NE(ntohs(address.sin_port), station.port);
  const Client unserved(station.port);
  unserved.Send("to the other program");
  EXPECT_EQ(Exchange(ntohs(address.sin_port), "still accepting"), kAnswer);
  EXPECT_THAT(station.receiver.Texts(), ElementsAre("still accepting"));
  EXPECT_FALSE(unserved.HasAnswer());
}

// --- No descriptors left

/// A listener that can be kept from accepting; its pauses are noted and cost next to nothing.
class StarvedListener {
 public:
  StarvedListener() {
    clock_.OnSleep([](std::size_t) { std::this_thread::sleep_for(std::chrono::milliseconds(1)); });
    station.Start();
  }

  /// Lets `failures` accepts fail after one that succeeds. \return what was reported
  std::string Starve(std::size_t failures) {
    const support::CaptureOutput output;
    const Client last(station.port);
    EXPECT_TRUE(WaitUntil([&] { return AcceptedSocket(station.port) != -1; }));
    const std::size_t texts = station.receiver.Texts().size();
    const std::size_t pauses = Pauses().size();
    const NoDescriptors none;
    last.Send("last");
    EXPECT_EQ(last.ReceiveAll(), kAnswer);
    EXPECT_TRUE(WaitUntil([&] { return Pauses().size() >= pauses + failures; }));
    EXPECT_GE(station.receiver.Texts().size(), texts + 1 + failures);
    return output.Err();
  }

  /// The pauses after failed accepts, in milliseconds.
  std::vector<unsigned> Pauses() const {
    std::vector<unsigned> pauses;
    for (const unsigned micros : clock_.Sleeps()) {
      if (micros >= 10'000) pauses.push_back(micros / 1000);
    }
    return pauses;
  }

  Station& station = NewStation();

 private:
  support::FakeClock clock_;
};

TEST(ListenerWithoutDescriptors, ReportsEachFailedAcceptWithItsConsequences) {
  RunInOwnProcess([] {
    StarvedListener starved;
    const unsigned port = starved.station.port;
    const std::string reports = WithoutStamps(starved.Starve(2));
    const std::string pass = Report(port, "ERROR on accept\n") +
                             Report(port, "ERROR reading from socket \n") +
                             Report(port, "ERROR answering client \n");
    EXPECT_EQ(reports.substr(0, 2 * pass.size()), pass + pass);
    EXPECT_EQ(Exchange(port, "next"), kAnswer);
    const std::vector<std::string> texts = starved.station.receiver.Texts();
    ASSERT_GE(texts.size(), 4U);
    EXPECT_EQ(texts.front(), "last");
    EXPECT_EQ(texts[1] + texts[2], "") << "the callback gets an empty text";
    EXPECT_EQ(texts.back(), "next");
  });
}

TEST(ListenerWithoutDescriptors, PausesLongerAndLongerUpToASecond) {
  RunInOwnProcess([] {
    StarvedListener starved;
    starved.Starve(10);
    const std::vector<unsigned> pauses = starved.Pauses();
    ASSERT_GE(pauses.size(), 10U);
    EXPECT_THAT(std::vector(pauses.begin(), pauses.begin() + 10),
                ElementsAre(10, 20, 40, 80, 160, 320, 640, 1000, 1000, 1000));
  });
}

TEST(ListenerWithoutDescriptors, PausesShortAgainAfterASuccess) {
  RunInOwnProcess([] {
    StarvedListener starved;
    starved.Starve(4);
    EXPECT_EQ(Exchange(starved.station.port, "success"), kAnswer);
    const std::size_t before = starved.Pauses().size();
    starved.Starve(2);
    const std::vector<unsigned> pauses = starved.Pauses();
    ASSERT_GE(pauses.size(), before + 2);
    EXPECT_EQ(pauses[before], 10U);
    EXPECT_EQ(pauses[before + 1], 20U);
  });
}

}  // namespace
