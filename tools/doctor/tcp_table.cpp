#include "doctor/tcp_table.h"

#include <arpa/inet.h>
#include <fcntl.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <filesystem>
#include <iterator>
#include <sstream>
#include <string_view>

#include "kaDescriptor.h"

namespace tools {

namespace {

namespace fs = std::filesystem;

constexpr unsigned kEstablished = 0x01;
constexpr unsigned kListening = 0x0A;

unsigned long FromHex(std::string_view digits) {
  unsigned long number = 0;
  std::from_chars(digits.data(), digits.data() + digits.size(), number, 16);
  return number;
}

std::pair<std::string, std::string> SplitAtColon(const std::string& text) {
  const std::size_t colon = text.find(':');
  if (colon == std::string::npos) return {text, ""};
  return {text.substr(0, colon), text.substr(colon + 1)};
}

/// The kernel writes an address as its words of four bytes, each in the machine's order.
std::string AddressOf(const std::string& digits) {
  constexpr std::size_t kWord = 8;
  std::array<std::uint32_t, 4> words{};
  const std::size_t count = std::min(digits.size() / kWord, words.size());
  for (std::size_t i = 0; i < count; ++i) {
    words.at(i) =
        static_cast<std::uint32_t>(FromHex(std::string_view(digits).substr(i * kWord, kWord)));
  }
  std::array<char, INET6_ADDRSTRLEN> text{};
  const int family = count == 1 ? AF_INET : AF_INET6;
  return inet_ntop(family, words.data(), text.data(), text.size()) == nullptr ? "" : text.data();
}

std::string PeerOf(const std::string& field) {
  const auto [address, port] = SplitAtColon(field);
  const std::string shown = AddressOf(address);
  const bool isLong = shown.find(':') != std::string::npos;
  return (isLong ? "[" + shown + "]" : shown) + ":" + std::to_string(FromHex(port));
}

/// "slot local peer state tx:rx timer:when retransmits user timeout inode ..."
std::optional<TcpSocket> ParseRow(const std::string& row) {
  std::istringstream stream(row);
  const std::vector<std::string> fields(std::istream_iterator<std::string>(stream), {});
  if (fields.size() < 10) return std::nullopt;
  const unsigned long state = FromHex(fields[3]);
  if (state != kListening && state != kEstablished) return std::nullopt;
  TcpSocket socket;
  socket.bListening = state == kListening;
  socket.Port = static_cast<unsigned>(FromHex(SplitAtColon(fields[1]).second));
  socket.Peer = PeerOf(fields[2]);
  if (socket.bListening)
    socket.Waiting = static_cast<unsigned>(FromHex(SplitAtColon(fields[4]).second));
  socket.User = static_cast<uid_t>(std::strtoul(fields[7].c_str(), nullptr, 10));
  socket.Inode = std::strtoul(fields[9].c_str(), nullptr, 10);
  return socket;
}

std::string Content(const fs::path& file) {
  return ReadAll(OpenFile(file.c_str(), O_RDONLY).Get());
}

/// The inodes of the sockets that a process has open; none if that may not be seen.
std::vector<unsigned long> SocketsOf(pid_t process) {
  constexpr std::string_view kMark = "socket:[";
  std::vector<unsigned long> inodes;
  std::error_code hidden;
  for (fs::directory_iterator entry("/proc/" + std::to_string(process) + "/fd", hidden), end;
       !hidden && entry != end; entry.increment(hidden)) {
    std::error_code closed;
    const std::string target = fs::read_symlink(entry->path(), closed).string();
    if (target.starts_with(kMark))
      inodes.push_back(std::strtoul(target.c_str() + kMark.size(), nullptr, 10));
  }
  return inodes;
}

std::map<unsigned long, std::vector<pid_t>> Owners(const ProcessTable& processes) {
  std::map<unsigned long, std::vector<pid_t>> owners;
  for (const Process& process : processes.All()) {
    for (const unsigned long inode : SocketsOf(process.Id))
      owners[inode].push_back(process.Id);
  }
  return owners;
}

}  // namespace

std::vector<TcpSocket> ParseTcpTable(const std::string& table) {
  std::vector<TcpSocket> sockets;
  std::istringstream rows(table);
  std::string row;
  std::getline(rows, row);  // the headings
  while (std::getline(rows, row)) {
    const std::optional<TcpSocket> socket = ParseRow(row);
    if (socket) sockets.push_back(*socket);
  }
  return sockets;
}

std::vector<TcpSocket> ReadTcpSockets(const ProcessTable& processes, pid_t process) {
  const fs::path directory =
      fs::path("/proc") / (process == 0 ? "self" : std::to_string(process)) / "net";
  std::vector<TcpSocket> sockets;
  for (const char* name : {"tcp", "tcp6"}) {
    const std::vector<TcpSocket> more = ParseTcpTable(Content(directory / name));
    sockets.insert(sockets.end(), more.begin(), more.end());
  }
  const auto owners = Owners(processes);
  for (TcpSocket& socket : sockets) {
    const auto found = owners.find(socket.Inode);
    if (socket.Inode != 0 && found != owners.end()) socket.Owners = found->second;
  }
  return sockets;
}

}  // namespace tools
