#ifndef KA_TOOLS_DELIVERY_H
#define KA_TOOLS_DELIVERY_H

#include <chrono>
#include <nlohmann/json.hpp>
#include <string>

#include "client/connection.h"
#include "client/messages.h"
#include "common/command.h"

namespace tools {

/// Exit statuses of the client commands. Scripts read them.
enum DeliveryStatus {
  kDelivered = 0,
  kRefused = 1,    ///< nothing was sent, because of what the message holds
  kNotSent = 2,    ///< nothing was sent: no connection, bad usage, no such file
  kUnanswered = 3  ///< sent, but not answered as it should be; the server may have handled it
};

/// A message on its way.
struct Outgoing {
  std::string Name;  ///< what it is called in the report, "" for the only one
  std::string Message;
};

/// Sends messages, each on a connection of its own, and reports what came of each.
class Delivery {
 public:
  /// \param command name of the subcommand
  Delivery(std::string command, Endpoint server, Connection::Seconds limit, Context& context);

  /// From now on the server may end instead of answering, and gets a second at most.
  void ExpectEnd();
  /// Sends a message and waits for the answer. Sets the exit status.
  /// \return whether it was delivered
  bool Send(const Outgoing& outgoing);
  /// Reports a message that is not sent. Sets the exit status.
  void Refuse(const std::string& name, const Refused& refused);
  /// Prints what was collected for programs.
  void Finish() const;

 private:
  bool IsDelivered(Answer answer) const;
  void ReportAnswer(const Outgoing& outgoing, Answer answer, Connection::Seconds taken);
  void ReportFailure(const Outgoing& outgoing, const NoConnection& failure);
  /// Says on standard error why a message was not delivered.
  void Complain(const std::string& name, const std::string& problem) const;

  std::string command_;
  Endpoint server_;
  Connection::Seconds limit_;
  bool endsServer_ = false;
  Context& context_;
  nlohmann::ordered_json results_ = nlohmann::ordered_json::array();
};

}  // namespace tools

#endif
