#include "port_lease.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/un.h>

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <random>
#include <stdexcept>
#include <string>

#include "support/loopback.h"

namespace servertest {

namespace {

// Below the range from which the kernel takes ports for outgoing connections.
constexpr int kFirstPort = 20000;
constexpr int kLastPort = 32000;

// A name in the abstract namespace that only one process can hold.
kaDescriptor TakeLease(unsigned port) {
  kaDescriptor lease(socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0));
  const std::string name = "ka-tts-test-port-" + std::to_string(port);
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  std::copy(name.begin(), name.end(), address.sun_path + 1);
  const auto length = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + 1 + name.size());
  if (bind(lease.Get(), reinterpret_cast<const sockaddr*>(&address), length) != 0) lease.Close();
  return lease;
}

}  // namespace

kaDescriptor OccupyPort(unsigned port) {
  kaDescriptor occupant(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
  sockaddr_in address = support::LoopbackAddress(port);
  address.sin_addr.s_addr = htonl(INADDR_ANY);
  const bool bound =
      bind(occupant.Get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0 &&
      listen(occupant.Get(), 1) == 0;
  if (!bound) occupant.Close();
  return occupant;
}

PortLease::PortLease() {
  std::random_device device;
  std::uniform_int_distribution<int> ports(kFirstPort, kLastPort);
  for (int attempt = 0; attempt < 1000; ++attempt) {
    number_ = static_cast<unsigned>(ports(device));
    lease_ = TakeLease(number_);
    if (lease_.IsValid() && OccupyPort(number_).IsValid()) return;
  }
  throw std::runtime_error("no free port");
}

}  // namespace servertest
