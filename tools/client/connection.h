#ifndef KA_TOOLS_CONNECTION_H
#define KA_TOOLS_CONNECTION_H

#include <chrono>
#include <stdexcept>
#include <string>
#include <string_view>

#include "kaDescriptor.h"

namespace tools {

/// Where a server listens. The host is a name or an address of IPv4 or IPv6.
struct Endpoint {
  std::string Host;
  unsigned Port = 0;

  /// "host:port", with an address of IPv6 in brackets.
  std::string Text() const;
};

/// How a message was answered.
enum class Answer {
  Received,  ///< as it should be
  Timeout,   ///< not in time
  Closed,    ///< by the end of the connection
  Other      ///< by other bytes: it is another program's port
};

/// The message could not be handed over: nobody listens, or the host is unknown or out of reach.
class NoConnection : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// A connection for one message.
class Connection {
 public:
  using Seconds = std::chrono::duration<double>;

  /// Connects to the first of the host's addresses that answers.
  /// \param limit for each address
  /// \throws NoConnection
  Connection(const Endpoint& server, Seconds limit);

  /// Hands the message over by one system call: the server takes what its first read brings.
  /// \throws NoConnection
  void Send(std::string_view message) const;
  Answer AwaitAnswer(Seconds limit) const;

 private:
  kaDescriptor socket_;
};

}  // namespace tools

#endif
