#include "support/loopback.h"

#include <arpa/inet.h>
#include <netinet/tcp.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <sys/time.h>

#include <cerrno>
#include <system_error>

#include "support/wait_until.h"

namespace support {

namespace {

void Require(bool condition, const char* what) {
  if (!condition) throw std::system_error(errno, std::generic_category(), what);
}

kaDescriptor MakeSocket() {
  kaDescriptor made(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
  Require(made.IsValid(), "socket");
  return made;
}

const sockaddr* Generic(const sockaddr_in& address) {
  return reinterpret_cast<const sockaddr*>(&address);
}

unsigned PortOf(int socket) {
  sockaddr_in address{};
  socklen_t size = sizeof address;
  Require(getsockname(socket, reinterpret_cast<sockaddr*>(&address), &size) == 0, "getsockname");
  return ntohs(address.sin_port);
}

unsigned BindToFreePort(int socket, in_addr_t host) {
  sockaddr_in address = LoopbackAddress(0);
  address.sin_addr.s_addr = htonl(host);
  Require(bind(socket, Generic(address), sizeof address) == 0, "bind");
  return PortOf(socket);
}

}  // namespace

sockaddr_in LoopbackAddress(unsigned port) {
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  address.sin_port = htons(static_cast<in_port_t>(port));
  return address;
}

std::vector<unsigned> FreePorts(std::size_t count) {
  std::vector<kaDescriptor> sockets;
  std::vector<unsigned> ports;
  while (ports.size() < count) {
    sockets.push_back(MakeSocket());
    const unsigned port = BindToFreePort(sockets.back().Get(), INADDR_ANY);
    // The server refuses the last port number.
    if (port < 65535) ports.push_back(port);
  }
  return ports;
}

unsigned FreePort() {
  return FreePorts(1).front();
}

PortBlocker::PortBlocker() : socket_(MakeSocket()) {
  port_ = BindToFreePort(socket_.Get(), INADDR_ANY);
  Require(listen(socket_.Get(), 5) == 0, "listen");
}

Client::Client(unsigned port, int maxSegment) {
  const sockaddr_in address = LoopbackAddress(port);
  const bool connected = WaitUntil([&] {
    socket_ = MakeSocket();
    if (maxSegment > 0) {
      Require(
          setsockopt(socket_.Get(), IPPROTO_TCP, TCP_MAXSEG, &maxSegment, sizeof maxSegment) == 0,
          "TCP_MAXSEG");
    }
    return connect(socket_.Get(), Generic(address), sizeof address) == 0;
  });
  Require(connected, "connect");
  const int on = 1;
  const timeval patience{60, 0};
  setsockopt(socket_.Get(), IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
  setsockopt(socket_.Get(), SOL_SOCKET, SO_RCVTIMEO, &patience, sizeof patience);
}

void Client::Send(std::string_view text) const {
  while (!text.empty()) {
    const ssize_t sent = send(socket_.Get(), text.data(), text.size(), MSG_NOSIGNAL);
    Require(sent > 0, "send");
    text.remove_prefix(static_cast<std::size_t>(sent));
  }
}

void Client::EndSending() const {
  Require(shutdown(socket_.Get(), SHUT_WR) == 0, "shutdown");
}

bool Client::IsDelivered() const {
  int unacknowledged = 0;
  Require(ioctl(socket_.Get(), TIOCOUTQ, &unacknowledged) == 0, "TIOCOUTQ");
  return unacknowledged == 0;
}

bool Client::HasAnswer() const {
  char byte = 0;
  return recv(socket_.Get(), &byte, 1, MSG_PEEK | MSG_DONTWAIT) >= 0;
}

std::string Client::ReceiveAll() const {
  std::string text;
  char buffer[256];
  for (;;) {
    const ssize_t count = recv(socket_.Get(), buffer, sizeof buffer, 0);
    Require(count >= 0, "recv");
    if (count == 0) return text;
    text.append(buffer, static_cast<std::size_t>(count));
  }
}

void Client::Vanish() {
  const linger hard{1, 0};
  Require(setsockopt(socket_.Get(), SOL_SOCKET, SO_LINGER, &hard, sizeof hard) == 0, "SO_LINGER");
  socket_.Close();
}

std::size_t Client::SegmentSize() const {
  int size = 0;
  socklen_t length = sizeof size;
  Require(getsockopt(socket_.Get(), IPPROTO_TCP, TCP_MAXSEG, &size, &length) == 0, "TCP_MAXSEG");
  return static_cast<std::size_t>(size);
}

unsigned Client::LocalPort() const {
  return PortOf(socket_.Get());
}

std::string Exchange(unsigned port, std::string_view text) {
  const Client client(port);
  client.Send(text);
  return client.ReceiveAll();
}

}  // namespace support
