#include <linux/in.h>
#include <linux/inet_diag.h>
#include <linux/netlink.h>
#include <linux/sock_diag.h>
#include <linux/tcp.h>

#include <sys/socket.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "doctor/tcp_table.h"
#include "kaDescriptor.h"

namespace tools {

namespace {

constexpr std::uint32_t kEstablished = 1;

using States = std::map<unsigned long, ConnectionState>;

struct Request {
  nlmsghdr Head{};
  inet_diag_req_v2 Question{};
};

bool Ask(int socket) {
  Request request;
  request.Head.nlmsg_len = sizeof request;
  request.Head.nlmsg_type = SOCK_DIAG_BY_FAMILY;
  request.Head.nlmsg_flags = NLM_F_REQUEST | NLM_F_DUMP;
  request.Question.sdiag_family = AF_INET;
  request.Question.sdiag_protocol = IPPROTO_TCP;
  request.Question.idiag_ext = 1U << (INET_DIAG_INFO - 1U);
  request.Question.idiag_states = 1U << kEstablished;
  return send(socket, &request, sizeof request, 0) == sizeof request;
}

/// What follows a structure that the kernel aligned at four bytes.
std::size_t Aligned(std::size_t size) {
  return (size + 3U) & ~std::size_t{3};
}

/// A structure out of the answer; what an older kernel does not know stays 0.
template <class T>
T Extract(const char* data, std::size_t size) {
  T value{};
  std::memcpy(&value, data, std::min(size, sizeof value));
  return value;
}

/// Reads one connection: a fixed part and attributes, one of which holds the counts.
void ReadConnection(const char* data, std::size_t size, States& states) {
  const auto connection = Extract<inet_diag_msg>(data, size);
  for (std::size_t at = Aligned(sizeof connection); at + sizeof(nlattr) <= size;) {
    const auto attribute = Extract<nlattr>(data + at, sizeof(nlattr));
    if (attribute.nla_len < sizeof attribute || at + attribute.nla_len > size) return;
    if (attribute.nla_type == INET_DIAG_INFO) {
      const auto info =
          Extract<tcp_info>(data + at + sizeof attribute, attribute.nla_len - sizeof attribute);
      states[connection.idiag_inode] = {info.tcpi_bytes_received,
                                        static_cast<double>(info.tcpi_last_data_recv) / 1000.0};
    }
    at += Aligned(attribute.nla_len);
  }
}

enum class Progress { More, Done, Failed };

Progress ReadMessages(const char* data, std::size_t size, States& states) {
  for (std::size_t at = 0; at + sizeof(nlmsghdr) <= size;) {
    const auto head = Extract<nlmsghdr>(data + at, sizeof(nlmsghdr));
    if (head.nlmsg_len < sizeof head || at + head.nlmsg_len > size) return Progress::Failed;
    if (head.nlmsg_type == NLMSG_DONE) return Progress::Done;
    if (head.nlmsg_type == NLMSG_ERROR) return Progress::Failed;
    ReadConnection(data + at + sizeof head, head.nlmsg_len - sizeof head, states);
    at += Aligned(head.nlmsg_len);
  }
  return Progress::More;
}

}  // namespace

std::optional<States> ReadConnectionStates() {
  constexpr std::size_t kLongestAnswer = 64 * 1024;
  const kaDescriptor socket(::socket(AF_NETLINK, SOCK_DGRAM | SOCK_CLOEXEC, NETLINK_SOCK_DIAG));
  if (!socket.IsValid() || !Ask(socket.Get())) return std::nullopt;
  States states;
  std::string answer(kLongestAnswer, '\0');
  while (true) {
    const ssize_t size = recv(socket.Get(), answer.data(), answer.size(), 0);
    if (size < 0 && errno == EINTR) continue;
    if (size <= 0) return std::nullopt;
    const Progress progress = ReadMessages(answer.data(), static_cast<std::size_t>(size), states);
    if (progress == Progress::Done) return states;
    if (progress == Progress::Failed) return std::nullopt;
  }
}

}  // namespace tools
