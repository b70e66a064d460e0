#ifndef KA_TESTS_SERVER_PROCESS_INFO_H
#define KA_TESTS_SERVER_PROCESS_INFO_H

#include <sys/types.h>

#include <cstdint>
#include <string>
#include <vector>

/// \file
/// What the kernel tells about a running process, from /proc.

namespace servertest {

/// One row of the kernel's table of IPv4 TCP sockets.
struct TcpSocket {
  static constexpr unsigned kListening = 0x0A;
  static constexpr unsigned kKeepAliveTimer = 2;

  std::string Address;  ///< local address in the kernel's notation: eight hexadecimal digits
  unsigned Port = 0;
  unsigned PeerPort = 0;
  unsigned State = 0;
  unsigned Timer = 0;         ///< kind of the timer that is running
  unsigned long Expires = 0;  ///< when it ends, in ticks of 10 ms
  std::string Inode;
};

/// The notation of 127.0.0.1 and of "any address".
constexpr const char* kLoopbackAddress = "0100007F";
constexpr const char* kAnyAddress = "00000000";

/// All TCP sockets of the process's network.
std::vector<TcpSocket> TcpSockets(pid_t pid);

/// The sockets on which the process itself listens.
std::vector<TcpSocket> ListeningSockets(pid_t pid);

/// Whether the process listens on `port`.
bool ListensOn(pid_t pid, unsigned port);

/// Whether any process of this network listens on `port`.
bool AnyoneListensOn(unsigned port);

/// Number of its open descriptors that are sockets.
int SocketCount(pid_t pid);

/// What a descriptor of the process refers to, "" if it is closed.
std::string DescriptorTarget(pid_t pid, int descriptor);

/// Its open descriptors in ascending order.
std::vector<int> OpenDescriptors(pid_t pid);

/// The number that the next descriptor will get.
int LowestFreeDescriptor(pid_t pid);

/// Seconds of processor time that it has used.
double ProcessorSeconds(pid_t pid);

}  // namespace servertest

#endif
