#include "client/connection.h"

#include <netdb.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/time.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <memory>
#include <system_error>

namespace tools {

namespace {

using Clock = std::chrono::steady_clock;
using Addresses = std::unique_ptr<addrinfo, void (*)(addrinfo*)>;

constexpr std::string_view kReceived = "received\n";

std::string Described(int error) {
  return std::generic_category().message(error);
}

Addresses Resolve(const Endpoint& server) {
  addrinfo wanted{};
  wanted.ai_socktype = SOCK_STREAM;
  addrinfo* found = nullptr;
  const int error =
      getaddrinfo(server.Host.c_str(), std::to_string(server.Port).c_str(), &wanted, &found);
  if (error != 0) throw NoConnection(gai_strerror(error));
  return {found, freeaddrinfo};
}

timeval AsTimeval(Connection::Seconds time) {
  const auto whole = std::chrono::duration_cast<std::chrono::microseconds>(time).count();
  return {whole / 1'000'000, std::max<suseconds_t>(whole % 1'000'000, 1)};
}

/// \return invalid, with errno set, if the address does not answer
kaDescriptor ConnectTo(const addrinfo& address, Connection::Seconds limit) {
  kaDescriptor made(socket(address.ai_family, SOCK_STREAM | SOCK_CLOEXEC, 0));
  if (!made.IsValid()) return made;
  // Connecting is limited by the time for sending.
  const timeval time = AsTimeval(limit);
  const int on = 1;
  if (setsockopt(made.Get(), SOL_SOCKET, SO_SNDTIMEO, &time, sizeof time) != 0 ||
      setsockopt(made.Get(), IPPROTO_TCP, TCP_NODELAY, &on, sizeof on) != 0 ||
      connect(made.Get(), address.ai_addr, address.ai_addrlen) != 0) {
    if (errno == EINPROGRESS) errno = ETIMEDOUT;
    return kaDescriptor();
  }
  return made;
}

/// Whether there is something to read, or the end, before the deadline.
bool AwaitReadable(int socket, Clock::time_point deadline) {
  pollfd readable{socket, POLLIN, 0};
  for (;;) {
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now()).count();
    const int ready = poll(&readable, 1, static_cast<int>(std::max<decltype(left)>(left, 0)));
    if (ready >= 0 || errno != EINTR) return ready > 0;
  }
}

}  // namespace

std::string Endpoint::Text() const {
  const bool isIpv6 = Host.find(':') != std::string::npos;
  return (isIpv6 ? "[" + Host + "]" : Host) + ":" + std::to_string(Port);
}

Connection::Connection(const Endpoint& server, Seconds limit) {
  const Addresses addresses = Resolve(server);
  int error = 0;
  for (const addrinfo* next = addresses.get(); next != nullptr; next = next->ai_next) {
    socket_ = ConnectTo(*next, limit);
    if (socket_.IsValid()) return;
    error = errno;
  }
  throw NoConnection(Described(error));
}

void Connection::Send(std::string_view message) const {
  const ssize_t sent = send(socket_.Get(), message.data(), message.size(), MSG_NOSIGNAL);
  if (sent != static_cast<ssize_t>(message.size())) throw NoConnection(Described(errno));
}

Answer Connection::AwaitAnswer(Seconds limit) const {
  const auto deadline = Clock::now() + std::chrono::duration_cast<Clock::duration>(limit);
  std::string answer;
  while (answer != kReceived) {
    if (!AwaitReadable(socket_.Get(), deadline)) return Answer::Timeout;
    std::array<char, kReceived.size()> bytes;
    const ssize_t count = recv(socket_.Get(), bytes.data(), bytes.size(), 0);
    if (count <= 0) return Answer::Closed;
    answer.append(bytes.data(), static_cast<std::size_t>(count));
    if (!kReceived.starts_with(answer)) return Answer::Other;
  }
  return Answer::Received;
}

}  // namespace tools
