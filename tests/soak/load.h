#ifndef KA_TESTS_SOAK_LOAD_H
#define KA_TESTS_SOAK_LOAD_H

#include <atomic>
#include <cstdint>
#include <functional>
#include <mutex>
#include <string>
#include <thread>

#include "hostile.h"

namespace soak {

/// One client after another on one port, until it is stopped. It rests twice as long as each
/// message takes, so that the three ports together take about a third of a core.
class Load {
 public:
  struct Message {
    servertest::HostileMessage Client;
    std::chrono::milliseconds Rest{0};  ///< least pause behind it
    bool Hurries = false;               ///< no pause at all
  };
  using Maker = std::function<Message()>;

  Load(std::string name, unsigned port, Maker make);
  ~Load();
  Load(const Load&) = delete;
  Load& operator=(const Load&) = delete;

  /// Sends no further message; returns when the last one has been answered.
  void Stop();
  /// Messages sent, those whose client did not wait for an answer included.
  std::size_t Messages() const { return messages_; }
  /// Messages that were not answered by "received", once.
  std::size_t Failures() const { return failures_; }
  /// Held while a message is under way: who holds it finds the port quiet.
  std::mutex& Busy() { return busy_; }

 private:
  void Run();
  void SendOne(const servertest::HostileMessage& message);
  void Rest(std::chrono::nanoseconds duration) const;

  std::string name_;
  unsigned port_;
  Maker make_;
  std::atomic<std::size_t> messages_{0};
  std::atomic<std::size_t> failures_{0};
  std::atomic<bool> stopped_{false};
  std::mutex busy_;
  std::thread thread_;
};

/// What arrives at a station's ports. First comes all the garbage that will come later again, so
/// that what it takes at most is taken early.
Load::Maker TextMessages(std::uint32_t seed);
/// \param quiet pause in which the cache timer expires, now and then; 0 for none
Load::Maker DataMessages(std::uint32_t seed, std::chrono::milliseconds quiet);
Load::Maker CommandMessages(std::uint32_t seed);

}  // namespace soak

#endif
