#include "client/delivery.h"

#include <algorithm>
#include <cstdio>
#include <utility>

namespace tools {

namespace {

constexpr Connection::Seconds kLongestConnecting{10};
constexpr Connection::Seconds kLongestEnd{1};

constexpr Bilingual kReceived = {"received", "received"};
constexpr Bilingual kEnded = {"der Server hat sich beendet", "the server has ended"};
constexpr Bilingual kNotSentText = {"nicht gesendet: {0}", "not sent: {0}"};
constexpr Bilingual kNoConnection = {"keine Verbindung mit {0}: {1}", "no connection to {0}: {1}"};
constexpr Bilingual kTimeout = {
    "gesendet, aber nach {0} s noch ohne Antwort; der Server kann die Nachricht noch ausführen",
    "sent, but without an answer after {0} s; the server may still carry the message out"};
constexpr Bilingual kClosed = {
    "gesendet, aber die Verbindung endete ohne Antwort; was daraus wurde, steht in der Ausgabe des "
    "Servers",
    "sent, but the connection ended without an answer; what came of it stands in the server's "
    "output"};
constexpr Bilingual kOther = {
    "gesendet, aber {0} antwortet nicht wie ein Ansageserver: Stimmt der Port?",
    "sent, but {0} does not answer as an announcement server does: is it the right port?"};

/// What programs read.
std::string_view IdOf(Answer answer) {
  switch (answer) {
    case Answer::Received:
      return "received";
    case Answer::Timeout:
      return "timeout";
    case Answer::Closed:
      return "closed";
    case Answer::Other:
      return "other-answer";
  }
  return "";
}

}  // namespace

Delivery::Delivery(std::string command, Endpoint server, Connection::Seconds limit,
                   Context& context)
    : command_(std::move(command)), server_(std::move(server)), limit_(limit), context_(context) {}

void Delivery::ExpectEnd() {
  endsServer_ = true;
  limit_ = std::min(limit_, kLongestEnd);
}

bool Delivery::Send(const Outgoing& outgoing) {
  using Clock = std::chrono::steady_clock;
  const Clock::time_point begin = Clock::now();
  try {
    const Connection connection(server_, std::min(limit_, kLongestConnecting));
    connection.Send(outgoing.Message);
    const Answer answer = connection.AwaitAnswer(limit_);
    ReportAnswer(outgoing, answer, Clock::now() - begin);
    context_.Status = IsDelivered(answer) ? kDelivered : kUnanswered;
  } catch (const NoConnection& failure) {
    ReportFailure(outgoing, failure);
    context_.Status = kNotSent;
  }
  return context_.Status == kDelivered;
}

void Delivery::Refuse(const std::string& name, const Refused& refused) {
  context_.Status = kRefused;
  const std::string problem = refused.Message(context_.Lang);
  results_.push_back(
      {{"name", name}, {"result", "refused"}, {"reason", refused.Id()}, {"problem", problem}});
  Complain(name, Say(kNotSentText, context_.Lang, problem));
}

void Delivery::Finish() const {
  if (!context_.bJson) return;
  const nlohmann::ordered_json json = {{"command", command_},
                                       {"host", server_.Host},
                                       {"port", server_.Port},
                                       {"messages", results_},
                                       {"status", context_.Status}};
  Print(json.dump(2, ' ', false, nlohmann::ordered_json::error_handler_t::replace) + "\n");
}

/// A server that ends may be gone before it has answered.
bool Delivery::IsDelivered(Answer answer) const {
  return answer == Answer::Received || (endsServer_ && answer == Answer::Closed);
}

void Delivery::ReportAnswer(const Outgoing& outgoing, Answer answer, Connection::Seconds taken) {
  results_.push_back({{"name", outgoing.Name},
                      {"bytes", outgoing.Message.size()},
                      {"result", IdOf(answer)},
                      {"seconds", taken.count()}});
  if (IsDelivered(answer)) {
    if (context_.bJson) return;
    const Bilingual& text = answer == Answer::Received ? kReceived : kEnded;
    Print((outgoing.Name.empty() ? "" : outgoing.Name + ": ") + Say(text, context_.Lang) + "\n");
    static_cast<void>(std::fflush(stdout));  // Whoever follows a long series sees each at once.
  } else if (answer == Answer::Timeout) {
    Complain(outgoing.Name, Say(kTimeout, context_.Lang, limit_.count()));
  } else {
    const Bilingual& text = answer == Answer::Closed ? kClosed : kOther;
    Complain(outgoing.Name, Say(text, context_.Lang, server_.Text()));
  }
}

void Delivery::ReportFailure(const Outgoing& outgoing, const NoConnection& failure) {
  results_.push_back({{"name", outgoing.Name},
                      {"bytes", outgoing.Message.size()},
                      {"result", "no-connection"},
                      {"problem", failure.what()}});
  Complain(outgoing.Name, Say(kNotSentText, context_.Lang,
                              Say(kNoConnection, context_.Lang, server_.Text(), failure.what())));
}

void Delivery::Complain(const std::string& name, const std::string& problem) const {
  PrintError("ka-tts " + command_ + ": " + (name.empty() ? "" : name + ": ") + problem + "\n");
}

}  // namespace tools
