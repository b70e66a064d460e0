#ifndef KA_TESTS_SUPPORT_FAKE_CLOCK_H
#define KA_TESTS_SUPPORT_FAKE_CLOCK_H

#include <ctime>
#include <functional>
#include <vector>

namespace support {

/// Drives time() and usleep() of the whole process while it lives: a sleep returns at once and
/// moves the clock on. One at a time, safe with several threads. Only for executables that are
/// linked with -Wl,--wrap=time -Wl,--wrap=usleep.
class FakeClock {
 public:
  explicit FakeClock(std::time_t start = 1'700'000'000);
  ~FakeClock();
  FakeClock(const FakeClock&) = delete;
  FakeClock& operator=(const FakeClock&) = delete;

  void Set(std::time_t now);
  /// Each look at the clock moves it on by so many seconds.
  void AdvanceWithEachLook(int seconds);
  /// The sleeps so far, in microseconds.
  std::vector<unsigned> Sleeps() const;
  /// `action` is called after each sleep with the number of sleeps so far, on the sleeping thread.
  void OnSleep(std::function<void(std::size_t)> action);
};

}  // namespace support

#endif
