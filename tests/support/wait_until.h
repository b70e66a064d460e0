#ifndef KA_TESTS_SUPPORT_WAIT_UNTIL_H
#define KA_TESTS_SUPPORT_WAIT_UNTIL_H

#include <chrono>
#include <thread>

namespace support {

/// Asks `condition` every few milliseconds until it holds, for half a minute at most.
/// \return whether it holds.
template <class Condition>
bool WaitUntil(Condition condition) {
  const auto limit = std::chrono::steady_clock::now() + std::chrono::seconds(30);
  while (!condition()) {
    if (std::chrono::steady_clock::now() > limit) return false;
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
  return true;
}

}  // namespace support

#endif
