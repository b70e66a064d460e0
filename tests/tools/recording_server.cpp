#include "recording_server.h"

#include <arpa/inet.h>
#include <linux/tcp.h>
#include <netinet/in.h>
#include <sys/socket.h>

#include <cerrno>
#include <system_error>

#include "support/wait_until.h"

namespace toolstest {

namespace {

/// Room for an address of either family.
struct Address {
  sockaddr_storage Storage{};
  socklen_t Size = sizeof Storage;

  sockaddr* Generic() { return reinterpret_cast<sockaddr*>(&Storage); }
};

void Require(bool condition, const char* what) {
  if (!condition) throw std::system_error(errno, std::generic_category(), what);
}

Address AddressOf(const std::string& host) {
  Address address;
  if (host.find(':') == std::string::npos) {
    auto& v4 = reinterpret_cast<sockaddr_in&>(address.Storage);
    v4.sin_family = AF_INET;
    address.Size = sizeof v4;
    Require(inet_pton(AF_INET, host.c_str(), &v4.sin_addr) == 1, "inet_pton");
  } else {
    auto& v6 = reinterpret_cast<sockaddr_in6&>(address.Storage);
    v6.sin6_family = AF_INET6;
    address.Size = sizeof v6;
    Require(inet_pton(AF_INET6, host.c_str(), &v6.sin6_addr) == 1, "inet_pton");
  }
  return address;
}

/// Listens on a port of the kernel's choice and makes `address` name it.
kaDescriptor Listen(Address& address, int backlog) {
  kaDescriptor made(socket(address.Storage.ss_family, SOCK_STREAM | SOCK_CLOEXEC, 0));
  Require(bind(made.Get(), address.Generic(), address.Size) == 0, "bind");
  Require(listen(made.Get(), backlog) == 0, "listen");
  Require(getsockname(made.Get(), address.Generic(), &address.Size) == 0, "getsockname");
  return made;
}

/// The port stands in the same place in both families.
unsigned PortOf(const Address& address) {
  return ntohs(reinterpret_cast<const sockaddr_in&>(address.Storage).sin_port);
}

std::string Receive(int socket) {
  char bytes[65536];
  const ssize_t count = recv(socket, bytes, sizeof bytes, 0);
  return count > 0 ? std::string(bytes, static_cast<std::size_t>(count)) : "";
}

unsigned DataSegments(int socket) {
  tcp_info info{};
  socklen_t size = sizeof info;
  Require(getsockopt(socket, IPPROTO_TCP, TCP_INFO, &info, &size) == 0, "TCP_INFO");
  return info.tcpi_data_segs_in;
}

}  // namespace

RecordingServer::RecordingServer(Pieces answer, const std::string& host)
    : answer_(std::move(answer)) {
  Address address = AddressOf(host);
  listening_ = Listen(address, 5);
  port_ = PortOf(address);
  thread_ = std::thread([this] { Serve(); });
}

RecordingServer::~RecordingServer() {
  shutdown(listening_.Get(), SHUT_RDWR);
  thread_.join();
}

std::vector<Recorded> RecordingServer::Await(std::size_t count) const {
  std::vector<Recorded> recorded;
  support::WaitUntil([&] {
    const std::lock_guard lock(mutex_);
    recorded = recorded_;
    return recorded.size() >= count;
  });
  return recorded;
}

void RecordingServer::Serve() {
  for (;;) {
    const kaDescriptor connection(accept4(listening_.Get(), nullptr, nullptr, SOCK_CLOEXEC));
    if (!connection.IsValid()) return;
    const Recorded recorded = Record(connection);
    const std::lock_guard lock(mutex_);
    recorded_.push_back(recorded);
  }
}

Recorded RecordingServer::Record(const kaDescriptor& connection) const {
  Recorded recorded;
  recorded.FirstRead = recorded.All = Receive(connection.Get());
  for (const std::string& piece : answer_)
    send(connection.Get(), piece.data(), piece.size(), MSG_NOSIGNAL);
  if (hangsUp_) shutdown(connection.Get(), SHUT_WR);
  for (std::string more = Receive(connection.Get()); !more.empty();
       more = Receive(connection.Get()))
    recorded.All += more;
  recorded.Segments = DataSegments(connection.Get());
  return recorded;
}

FullPort::FullPort() {
  Address address = AddressOf("127.0.0.1");
  listening_ = Listen(address, 0);
  port_ = PortOf(address);
  for (int i = 0; i < 4; ++i) {
    waiting_.emplace_back(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    const int begun = connect(waiting_.back().Get(), address.Generic(), address.Size);
    Require(begun == 0 || errno == EINPROGRESS, "connect");
  }
}

}  // namespace toolstest
