#include "process_info.h"

#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <set>
#include <sstream>

#include "support/temp_dir.h"

namespace servertest {

namespace {

std::string ProcPath(pid_t pid, const std::string& name) {
  return "/proc/" + std::to_string(pid) + "/" + name;
}

unsigned PortOf(const std::string& address) {
  return static_cast<unsigned>(std::stoul(address.substr(address.find(':') + 1), nullptr, 16));
}

// "sl local remote st tx:rx tr:when retrnsmt uid timeout inode ..."
TcpSocket ParseRow(const std::string& row) {
  std::istringstream fields(row);
  std::string slot;
  std::string local;
  std::string remote;
  std::string state;
  std::string queues;
  std::string timer;
  std::string retransmits;
  std::string uid;
  std::string timeout;
  TcpSocket socket;
  fields >> slot >> local >> remote >> state >> queues >> timer >> retransmits >> uid >> timeout >>
      socket.Inode;
  socket.Address = local.substr(0, local.find(':'));
  socket.Port = PortOf(local);
  socket.PeerPort = PortOf(remote);
  socket.State = static_cast<unsigned>(std::stoul(state, nullptr, 16));
  socket.Timer = static_cast<unsigned>(std::stoul(timer.substr(0, timer.find(':')), nullptr, 16));
  socket.Expires = std::stoul(timer.substr(timer.find(':') + 1), nullptr, 16);
  return socket;
}

std::set<std::string> SocketInodes(pid_t pid) {
  const std::string mark = "socket:[";
  std::set<std::string> inodes;
  for (const int descriptor : OpenDescriptors(pid)) {
    const std::string target = DescriptorTarget(pid, descriptor);
    if (!target.starts_with(mark)) continue;
    inodes.insert(target.substr(mark.size(), target.size() - mark.size() - 1));
  }
  return inodes;
}

}  // namespace

std::vector<TcpSocket> TcpSockets(pid_t pid) {
  std::ifstream table(ProcPath(pid, "net/tcp"));
  std::string row;
  std::getline(table, row);  // the headings
  std::vector<TcpSocket> sockets;
  while (std::getline(table, row))
    sockets.push_back(ParseRow(row));
  return sockets;
}

std::vector<TcpSocket> ListeningSockets(pid_t pid) {
  const std::set<std::string> own = SocketInodes(pid);
  std::vector<TcpSocket> sockets = TcpSockets(pid);
  std::erase_if(sockets, [&](const TcpSocket& socket) {
    return socket.State != TcpSocket::kListening || !own.contains(socket.Inode);
  });
  return sockets;
}

bool ListensOn(pid_t pid, unsigned port) {
  const std::vector<TcpSocket> sockets = ListeningSockets(pid);
  return std::any_of(sockets.begin(), sockets.end(),
                     [port](const TcpSocket& socket) { return socket.Port == port; });
}

bool AnyoneListensOn(unsigned port) {
  const std::vector<TcpSocket> sockets = TcpSockets(getpid());
  return std::any_of(sockets.begin(), sockets.end(), [port](const TcpSocket& socket) {
    return socket.State == TcpSocket::kListening && socket.Port == port;
  });
}

int SocketCount(pid_t pid) {
  return static_cast<int>(SocketInodes(pid).size());
}

std::string DescriptorTarget(pid_t pid, int descriptor) {
  std::error_code gone;
  return std::filesystem::read_symlink(ProcPath(pid, "fd/" + std::to_string(descriptor)), gone)
      .string();
}

std::vector<int> OpenDescriptors(pid_t pid) {
  std::vector<int> descriptors;
  std::error_code gone;
  for (std::filesystem::directory_iterator entry(ProcPath(pid, "fd"), gone), end;
       !gone && entry != end; entry.increment(gone)) {
    descriptors.push_back(std::stoi(entry->path().filename().string()));
  }
  std::sort(descriptors.begin(), descriptors.end());
  return descriptors;
}

int LowestFreeDescriptor(pid_t pid) {
  int number = 0;
  for (const int descriptor : OpenDescriptors(pid)) {
    if (descriptor != number) break;
    ++number;
  }
  return number;
}

double ProcessorSeconds(pid_t pid) {
  const std::string status = support::ReadFile(ProcPath(pid, "stat"));
  std::istringstream fields(status.substr(status.rfind(')') + 2));
  std::string skipped;
  for (int field = 3; field < 14; ++field)
    fields >> skipped;
  double user = 0;
  double system = 0;
  fields >> user >> system;
  return (user + system) / static_cast<double>(sysconf(_SC_CLK_TCK));
}

}  // namespace servertest
