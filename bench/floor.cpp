/// \file
/// The least that a server could do: the listener's system calls, and for each message the system
/// calls and shell commands that the server makes for it, read from a script. It parses nothing of
/// a message, composes nothing and compares nothing.
///
///   ka-bench-floor PORT SCRIPT
///
/// The script has a line "message" in front of the calls of each message; after the last message
/// the first one follows. Texts are hexadecimal. \sa recording.h, which writes scripts

#include <fcntl.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <ctime>
#include <fstream>
#include <functional>
#include <iostream>
#include <map>
#include <sstream>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace {

using Call = std::function<void()>;
using Message = std::vector<Call>;

std::string FromHex(const std::string& hex) {
  std::string text;
  for (std::size_t i = 0; i + 1 < hex.size(); i += 2)
    text += static_cast<char>(std::stoi(hex.substr(i, 2), nullptr, 16));
  return text;
}

/// Descriptors by the number that they had in the server.
std::array<int, 1024> gOpened;

timer_t MakeTimer() {
  sigevent notification{};
  notification.sigev_notify = SIGEV_NONE;
  timer_t timer{};
  if (timer_create(CLOCK_REALTIME, &notification, &timer) != 0) {
    throw std::runtime_error("timer_create");
  }
  return timer;
}

void SetTimer(timer_t timer, int seconds) {
  itimerspec time{};
  time.it_value.tv_sec = seconds;
  time.it_interval.tv_sec = seconds;
  timer_settime(timer, 0, &time, nullptr);
}

void ReadSome(int descriptor, std::size_t size) {
  static std::array<char, 1 << 20> buffer;
  [[maybe_unused]] const ssize_t count =
      read(descriptor, buffer.data(), std::min(size, buffer.size()));
}

void WriteText(int descriptor, const std::string& text) {
  [[maybe_unused]] const ssize_t count = write(descriptor, text.data(), text.size());
}

Call MakeCall(const std::string& name, std::istringstream& words) {
  std::string text;
  std::size_t slot = 0;
  if (name == "stat") {
    words >> text;
    return [path = FromHex(text)] {
      struct stat status {};
      stat(path.c_str(), &status);
    };
  }
  if (name == "open") {
    int flags = 0;
    words >> slot >> text >> flags;
    return
        [slot, path = FromHex(text), flags] { gOpened.at(slot) = open(path.c_str(), flags, 0666); };
  }
  if (name == "read") {
    std::size_t size = 0;
    words >> slot >> size;
    return [slot, size] { ReadSome(gOpened.at(slot), size); };
  }
  if (name == "write") {
    words >> slot >> text;
    return [slot, content = FromHex(text)] { WriteText(gOpened.at(slot), content); };
  }
  if (name == "close") {
    words >> slot;
    return [slot] { close(gOpened.at(slot)); };
  }
  if (name == "unlink") {
    words >> text;
    return [path = FromHex(text)] { unlink(path.c_str()); };
  }
  if (name == "system") {
    words >> text;
    return [command = FromHex(text)] {
      [[maybe_unused]] const int status = std::system(command.c_str());
    };
  }
  if (name == "settime") {
    int seconds = 0;
    words >> seconds;
    return [timer = MakeTimer(), seconds] { SetTimer(timer, seconds); };
  }
  throw std::runtime_error("the script has an unknown call " + name);
}

std::vector<Message> ReadScript(const char* path) {
  std::ifstream script(path);
  std::vector<Message> messages;
  for (std::string line; std::getline(script, line);) {
    std::istringstream words(line);
    std::string name;
    words >> name;
    if (name == "message") {
      messages.emplace_back();
    } else {
      messages.at(messages.size() - 1).push_back(MakeCall(name, words));
    }
  }
  if (messages.empty()) throw std::runtime_error("the script is empty");
  return messages;
}

// ---- The listener, call by call as the server's ----

constexpr std::size_t kLongestMessage = 11999;

void SetOption(int socket, int level, int name, int value) {
  setsockopt(socket, level, name, &value, sizeof value);
}

int OpenListeningSocket(unsigned port) {
  const int listening = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  SetOption(listening, SOL_SOCKET, SO_REUSEADDR, 1);
  SetOption(listening, SOL_SOCKET, SO_REUSEPORT, 1);
  sockaddr_in name{};
  name.sin_family = AF_INET;
  name.sin_addr.s_addr = htonl(INADDR_ANY);
  name.sin_port = htons(static_cast<std::uint16_t>(port));
  if (bind(listening, reinterpret_cast<const sockaddr*>(&name), sizeof name) != 0) {
    throw std::runtime_error("bind");
  }
  return listening;
}

bool EndsWithFullSegment(int connection) {
  int pending = 0;
  ioctl(connection, FIONREAD, &pending);
  tcp_info info{};
  socklen_t size = sizeof info;
  getsockopt(connection, IPPROTO_TCP, TCP_INFO, &info, &size);
  const auto segment = static_cast<int>(info.tcpi_rcv_mss);
  return pending > 0 && pending < static_cast<int>(kLongestMessage) && segment > 0 &&
         pending % segment == 0;
}

void AwaitMessage(int connection) {
  pollfd readable{connection, POLLIN, 0};
  poll(&readable, 1, -1);
  using Clock = std::chrono::steady_clock;
  const Clock::time_point deadline = Clock::now() + std::chrono::milliseconds(20);
  while (EndsWithFullSegment(connection) && Clock::now() < deadline)
    usleep(1000);
}

void ServeConnection(int connection, const Message& message) {
  std::array<char, 12000> buffer;
  SetOption(connection, SOL_SOCKET, SO_KEEPALIVE, 1);
  SetOption(connection, IPPROTO_TCP, TCP_KEEPIDLE, 30);
  SetOption(connection, IPPROTO_TCP, TCP_KEEPINTVL, 10);
  SetOption(connection, IPPROTO_TCP, TCP_KEEPCNT, 3);
  AwaitMessage(connection);
  [[maybe_unused]] ssize_t count = read(connection, buffer.data(), kLongestMessage);
  for (const Call& call : message)
    call();
  send(connection, "received\n", 9, MSG_NOSIGNAL);
  do {
    count = recv(connection, buffer.data(), 4096, MSG_DONTWAIT);
  } while (count > 0);
  close(connection);
}

[[noreturn]] void Serve(int listening, const std::vector<Message>& messages) {
  for (std::size_t i = 0;; i = (i + 1) % messages.size()) {
    listen(listening, 5);
    const int connection = accept4(listening, nullptr, nullptr, SOCK_CLOEXEC);
    ServeConnection(connection, messages[i]);
  }
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 3) return EXIT_FAILURE;
  std::array<int, 1024> standard{};
  for (std::size_t i = 0; i < standard.size(); ++i)
    standard[i] = static_cast<int>(i);
  gOpened = standard;
  std::signal(SIGPIPE, [](int) {});
  const std::vector<Message> messages = ReadScript(argv[2]);
  const int listening = OpenListeningSocket(static_cast<unsigned>(std::stoul(argv[1])));
  // As in the server, a thread serves and the main thread looks every 100 ms.
  std::thread([listening, &messages] { Serve(listening, messages); }).detach();
  for (;;)
    usleep(100'000);
}
