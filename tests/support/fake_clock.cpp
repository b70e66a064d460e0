#include "support/fake_clock.h"

#include <unistd.h>

#include <cstdint>
#include <mutex>
#include <utility>

namespace support {

namespace {

struct Clock {
  std::mutex mutex;
  bool running = false;
  std::int64_t micros = 0;
  int secondsPerLook = 0;
  std::vector<unsigned> sleeps;
  std::function<void(std::size_t)> action;
};

// Never destroyed: threads of a test may outlive main.
Clock& TheClock() {
  static Clock* clock = new Clock;
  return *clock;
}

constexpr std::int64_t kMicrosPerSecond = 1'000'000;

bool Look(std::time_t& now) {
  Clock& clock = TheClock();
  const std::lock_guard lock(clock.mutex);
  if (!clock.running) return false;
  now = clock.micros / kMicrosPerSecond;
  clock.micros += clock.secondsPerLook * kMicrosPerSecond;
  return true;
}

bool Sleep(unsigned micros) {
  Clock& clock = TheClock();
  std::function<void(std::size_t)> action;
  std::size_t count = 0;
  {
    const std::lock_guard lock(clock.mutex);
    if (!clock.running) return false;
    clock.micros += micros;
    clock.sleeps.push_back(micros);
    count = clock.sleeps.size();
    action = clock.action;
  }
  if (action) action(count);
  return true;
}

}  // namespace

FakeClock::FakeClock(std::time_t start) {
  Clock& clock = TheClock();
  const std::lock_guard lock(clock.mutex);
  clock.running = true;
  clock.micros = start * kMicrosPerSecond;
}

FakeClock::~FakeClock() {
  Clock& clock = TheClock();
  const std::lock_guard lock(clock.mutex);
  clock.running = false;
  clock.secondsPerLook = 0;
  clock.sleeps.clear();
  clock.action = nullptr;
}

void FakeClock::Set(std::time_t now) {
  const std::lock_guard lock(TheClock().mutex);
  TheClock().micros = now * kMicrosPerSecond;
}

void FakeClock::AdvanceWithEachLook(int seconds) {
  const std::lock_guard lock(TheClock().mutex);
  TheClock().secondsPerLook = seconds;
}

std::vector<unsigned> FakeClock::Sleeps() const {
  const std::lock_guard lock(TheClock().mutex);
  return TheClock().sleeps;
}

void FakeClock::OnSleep(std::function<void(std::size_t)> action) {
  const std::lock_guard lock(TheClock().mutex);
  TheClock().action = std::move(action);
}

}  // namespace support

// The linker's names for the replaced and the replacing functions.
// NOLINTBEGIN(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp)
extern "C" {

std::time_t __real_time(std::time_t* out);
int __real_usleep(useconds_t micros);

std::time_t __wrap_time(std::time_t* out) {
  std::time_t now = 0;
  if (!support::Look(now)) return __real_time(out);
  if (out != nullptr) *out = now;
  return now;
}

int __wrap_usleep(useconds_t micros) {
  return support::Sleep(micros) ? 0 : __real_usleep(micros);
}
}
// NOLINTEND(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp)
