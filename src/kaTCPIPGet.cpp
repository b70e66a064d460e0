#include "kaTCPIPGet.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <ctime>
#include <exception>
#include <string>
#include <string_view>

#include "kaDescriptor.h"
#include "kaOutput.h"

namespace {

constexpr std::uint32_t kNoPort = 999999;
constexpr std::uint32_t kDefaultPort = 50000;
/// 65535 is refused, too: configuration tools in use check against the same limit.
constexpr std::uint32_t kHighestPort = 65534;

constexpr int kBacklog = 5;
constexpr int kBufferLengthOnTheWire = 40;
constexpr std::string_view kAnswer = "received\n";

using Buffer = std::array<char, kLongestMessage + 1>;

/// The local time as "Sat Nov 21 19:23:00 2026", without taking memory.
class TimeStamp {
 public:
  TimeStamp() {
    const std::time_t now = std::time(nullptr);
    std::tm local{};
    const bool known =
        localtime_r(&now, &local) != nullptr && asctime_r(&local, text_.data()) != nullptr;
    text_[known ? kLength : 0] = '\0';
  }
  std::string_view Text() const { return text_.data(); }

 private:
  static constexpr std::size_t kLength = 24;

  std::array<char, 64> text_{};
};

/// Writes a listener's reports. It needs no memory and never throws: reports are also made when
/// something else has failed for want of memory.
class Reporter {
 public:
  explicit Reporter(std::uint32_t port) : port_(std::to_string(port)) {}

  /// \param subject,rest further parts of the message
  void Report(std::string_view message, std::string_view subject = "",
              std::string_view rest = "") const {
    Report(TimeStamp(), message, subject, rest);
  }
  /// For the set-up, which carries the time of the thread's start.
  void ReportSetUp(std::string_view message) const { Report(startStamp_, message, "", ""); }

 private:
  void Report(const TimeStamp& stamp, std::string_view message, std::string_view subject,
              std::string_view rest) const {
    PrintErr({"Port: ", port_, " --- ", stamp.Text(), " --- ", message, subject, rest});
  }

  const std::string port_;
  const TimeStamp startStamp_;
};

bool SetOption(int socket, int level, int name, int value) {
  return setsockopt(socket, level, name, &value, sizeof value) == 0;
}

bool BindTo(int socket, in_addr_t address, std::uint32_t port) {
  sockaddr_in name{};
  name.sin_family = AF_INET;
  name.sin_addr.s_addr = htonl(address);
  name.sin_port = htons(static_cast<std::uint16_t>(port));
  return bind(socket, reinterpret_cast<const sockaddr*>(&name), sizeof name) == 0;
}

/// Opens the port as far as it can be opened; what fails is reported and passed over.
kaDescriptor OpenListeningSocket(std::uint32_t port, const Reporter& reporter) {
  kaDescriptor listening(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
  if (!listening.IsValid()) reporter.ReportSetUp("ERROR opening socket \n");
  if (!SetOption(listening.Get(), SOL_SOCKET, SO_REUSEADDR, 1)) {
    reporter.ReportSetUp("setsockopt(SO_REUSEADDR) failed \n");
  }
  if (!SetOption(listening.Get(), SOL_SOCKET, SO_REUSEPORT, 1)) {
    reporter.ReportSetUp("setsockopt(SO_REUSEPORT) failed \n");
  }
  if (!BindTo(listening.Get(), INADDR_ANY, port)) {
    reporter.ReportSetUp("ERROR on binding\n");
    // Listening without an address would open a random port to the network.
    BindTo(listening.Get(), INADDR_LOOPBACK, 0);
  }
  return listening;
}

/// Slows a listener down that cannot accept, e.g. for want of descriptors.
class AcceptBackOff {
 public:
  void AfterAccept(bool succeeded, int error) {
    if (succeeded) delay_ = kShortest;
    pending_ = !succeeded && error != EINTR && error != ECONNABORTED;
  }

  /// Pauses if the last accept failed; the pause doubles with each failure.
  void Pause() {
    if (!pending_) return;
    usleep(delay_);
    delay_ = std::min(2 * delay_, kLongest);
  }

 private:
  static constexpr useconds_t kShortest = 10'000;
  static constexpr useconds_t kLongest = 1'000'000;

  useconds_t delay_ = kShortest;
  bool pending_ = false;
};

/// Lets a client that is gone free the port; one that is alive and silent keeps it.
void KeepAlive(int connection) {
  SetOption(connection, SOL_SOCKET, SO_KEEPALIVE, 1);
  SetOption(connection, IPPROTO_TCP, TCP_KEEPIDLE, 30);
  SetOption(connection, IPPROTO_TCP, TCP_KEEPINTVL, 10);
  SetOption(connection, IPPROTO_TCP, TCP_KEEPCNT, 3);
}

std::size_t PendingBytes(int connection) {
  int count = 0;
  return ioctl(connection, FIONREAD, &count) == 0 && count > 0 ? static_cast<std::size_t>(count)
                                                               : 0;
}

std::size_t ReceiveSegmentSize(int connection) {
  tcp_info info{};
  socklen_t size = sizeof info;
  return getsockopt(connection, IPPROTO_TCP, TCP_INFO, &info, &size) == 0 ? info.tcpi_rcv_mss : 0;
}

/// Whether more of the message is likely under way: what is there ends exactly with a segment.
bool EndsWithFullSegment(int connection) {
  const std::size_t pending = PendingBytes(connection);
  const std::size_t segment = ReceiveSegmentSize(connection);
  return pending > 0 && pending < kLongestMessage && segment > 0 && pending % segment == 0;
}

/// Waits for the first bytes and, for a short time, for the segments that follow them, so that one
/// read takes a block that came in several Ethernet segments.
void AwaitMessage(int connection) {
  pollfd readable{connection, POLLIN, 0};
  while (poll(&readable, 1, -1) < 0 && errno == EINTR) {
  }
  using Clock = std::chrono::steady_clock;
  const Clock::time_point deadline = Clock::now() + std::chrono::milliseconds(20);
  while (EndsWithFullSegment(connection) && Clock::now() < deadline)
    usleep(1000);
}

/// Reads once: what one read returns is the whole message.
/// \return false on a read error
bool ReadMessage(int connection, Buffer& buffer) {
  buffer.fill('\0');
  if (connection >= 0) AwaitMessage(connection);
  ssize_t count = 0;
  do {
    count = read(connection, buffer.data(), kLongestMessage);
  } while (count < 0 && errno == EINTR);
  return count >= 0;
}

bool SendAnswer(int connection) {
  ssize_t sent = 0;
  do {
    sent = send(connection, kAnswer.data(), kAnswer.size(), MSG_NOSIGNAL);
  } while (sent < 0 && errno == EINTR);
  return sent >= 0;
}

/// Takes what the client sent beyond the one read: closing over unread bytes would reset the
/// connection before the client saw the answer.
void DrainSurplus(int connection) {
  constexpr std::size_t kMost = 65536;
  std::array<char, 4096> surplus;
  ssize_t count = 1;
  for (std::size_t taken = 0; taken < kMost && count > 0;
       taken += static_cast<std::size_t>(count)) {
    count = recv(connection, surplus.data(), surplus.size(), MSG_DONTWAIT);
  }
}

/// Hands the message on. Whatever leaves the callback ends here: one bad message never ends the
/// server.
void HandleMessage(const kaSockData& data, Buffer& buffer, const Reporter& reporter) {
  if (data.CallBackFunction == nullptr) {
    reporter.Report("Keine Callbackfunktion - der empfangene Text lautet: ", buffer.data(), "\n");
    return;
  }
  try {
    data.CallBackFunction(kBufferLengthOnTheWire, buffer.data(), data.PCaller);
  } catch (const std::exception& error) {
    reporter.Report("ERROR processing message: ", error.what(), "\n");
  } catch (...) {
    reporter.Report("ERROR processing message: unknown exception\n");
  }
}

/// Serves one connection, or the lack of one: after a failed accept everything goes on with the
/// failed descriptor.
void ServeConnection(kaDescriptor connection, const kaSockData& data, Buffer& buffer,
                     const Reporter& reporter) {
  KeepAlive(connection.Get());
  if (!ReadMessage(connection.Get(), buffer)) reporter.Report("ERROR reading from socket \n");
  HandleMessage(data, buffer, reporter);
  const bool answered = SendAnswer(connection.Get());
  DrainSurplus(connection.Get());
  connection.Close();
  if (!answered) reporter.Report("ERROR answering client \n");
}

}  // namespace

CkaTCPIPGet::CkaTCPIPGet() : bIsInitialized(false), bIsOn(false), nPortNum(kNoPort), thread{} {
  _KA_THISCLASS_MSG_ID = 8000;
  Initialize();
}

CkaTCPIPGet::CkaTCPIPGet(unsigned int port) : CkaTCPIPGet() {
  if (SetPortNum(port)) return;
  bIsInitialized = false;
  nPortNum = kNoPort;
}

CkaTCPIPGet::~CkaTCPIPGet() {
  CloseServerThread();
}

void CkaTCPIPGet::Initialize() {
  bIsInitialized = SetPortNum(kDefaultPort);
}

bool CkaTCPIPGet::SetPortNum(unsigned int port) {
  if (port == 0 || port > kHighestPort) return false;
  nPortNum = port;
  return true;
}

bool CkaTCPIPGet::IsInitialized() const {
  return bIsInitialized;
}

bool CkaTCPIPGet::IsOn() const {
  return bIsOn;
}

bool CkaTCPIPGet::OpenServerThread(kaCallBack callback, void* caller) {
  if (!bIsInitialized || bIsOn) return false;
  sock_data = {nPortNum, callback, caller};
  // A thread that was not created leaves the listener absent; the server goes on without it.
  if (pthread_create(&thread, nullptr, WaitForCall, &sock_data) != 0) thread = {};
  bIsOn = true;
  return true;
}

bool CkaTCPIPGet::OpenServerThread() {
  return OpenServerThread(nullptr, nullptr);
}

bool CkaTCPIPGet::CloseServerThread() {
  if (bIsOn && thread != pthread_t{}) pthread_join(thread, nullptr);
  bIsOn = false;
  return true;
}

void* CkaTCPIPGet::WaitForCall(void* sockData) {
  const kaSockData& data = *static_cast<const kaSockData*>(sockData);
  const Reporter reporter(data.PortNum);
  const kaDescriptor listening = OpenListeningSocket(data.PortNum, reporter);
  AcceptBackOff backOff;
  Buffer buffer;
  while (true) {
    // At the top of every pass; it is harmless once the socket listens.
    listen(listening.Get(), kBacklog);
    kaDescriptor connection(accept4(listening.Get(), nullptr, nullptr, SOCK_CLOEXEC));
    backOff.AfterAccept(connection.IsValid(), errno);
    if (!connection.IsValid()) reporter.Report("ERROR on accept\n");
    ServeConnection(std::move(connection), data, buffer, reporter);
    backOff.Pause();
  }
}
