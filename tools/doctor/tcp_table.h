#ifndef KA_TOOLS_TCP_TABLE_H
#define KA_TOOLS_TCP_TABLE_H

#include <sys/types.h>

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "doctor/process_table.h"

namespace tools {

/// A TCP socket of the kernel's tables.
struct TcpSocket {
  bool bListening = false;
  unsigned Port = 0;        ///< the local one
  std::string Peer;         ///< "address:port" of the other end
  unsigned Waiting = 0;     ///< of a listening one: clients whom nobody has taken up yet
  unsigned long Inode = 0;  ///< 0 for a connection that nobody has taken up yet
  uid_t User = 0;
  std::vector<pid_t> Owners;  ///< who has it open; empty if that may not be seen
};

/// The listening and the established sockets of the network of a process, with their owners.
/// \param process 0 for this one
std::vector<TcpSocket> ReadTcpSockets(const ProcessTable& processes, pid_t process = 0);

/// The rows of a table as /proc/net/tcp and /proc/net/tcp6 have them, without owners.
std::vector<TcpSocket> ParseTcpTable(const std::string& table);

/// What the kernel counts of an established connection.
struct ConnectionState {
  std::uint64_t BytesReceived = 0;
  double SecondsSinceReceived = 0;  ///< since it was opened if nothing came yet
};

/// The established connections of this network over IPv4, by inode. Asked of the kernel by its
/// socket monitoring interface, which touches no connection. Nothing if it does not answer.
std::optional<std::map<unsigned long, ConnectionState>> ReadConnectionStates();

}  // namespace tools

#endif
