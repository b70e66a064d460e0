#ifndef KA_TESTS_TOOLS_RECORDING_SERVER_H
#define KA_TESTS_TOOLS_RECORDING_SERVER_H

#include <atomic>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "kaDescriptor.h"

namespace toolstest {

/// What came over one connection.
struct Recorded {
  std::string FirstRead;
  std::string All;        ///< up to the end of the connection
  unsigned Segments = 0;  ///< TCP segments that brought it: on loopback, one for each write
};

/// A server that writes down what it gets, one connection after another, and answers each first
/// read in a chosen way.
class RecordingServer {
 public:
  /// Pieces of an answer, each sent by itself.
  using Pieces = std::vector<std::string>;

  /// \param answer empty to say nothing until the client goes
  /// \param host "127.0.0.1" or "::1"
  explicit RecordingServer(Pieces answer = {"received\n"}, const std::string& host = "127.0.0.1");
  ~RecordingServer();
  RecordingServer(const RecordingServer&) = delete;
  RecordingServer& operator=(const RecordingServer&) = delete;

  /// Ends connections instead of answering.
  void HangUp() { hangsUp_ = true; }

  std::string Port() const { return std::to_string(port_); }
  /// What came over the connections that are over: waits for `count` of them.
  std::vector<Recorded> Await(std::size_t count) const;

 private:
  void Serve();
  Recorded Record(const kaDescriptor& connection) const;

  Pieces answer_;
  std::atomic<bool> hangsUp_ = false;
  kaDescriptor listening_;
  unsigned port_ = 0;
  mutable std::mutex mutex_;
  std::vector<Recorded> recorded_;
  std::thread thread_;
};

/// A port at which connecting is never answered: its queue is full.
class FullPort {
 public:
  FullPort();
  std::string Port() const { return std::to_string(port_); }

 private:
  kaDescriptor listening_;
  unsigned port_ = 0;
  std::vector<kaDescriptor> waiting_;
};

}  // namespace toolstest

#endif
