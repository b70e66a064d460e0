#include "kaWait.h"

#include <unistd.h>

#include <ctime>

bool WaitWhileBlocked(int seconds, const std::function<bool()>& isBlocked) {
  constexpr useconds_t kHalfSecond = 500000;
  const std::time_t deadline = std::time(nullptr) + seconds;
  bool blocked = isBlocked();
  for (std::time_t now = std::time(nullptr); now < deadline && blocked;) {
    blocked = isBlocked();
    now = std::time(nullptr);
    usleep(kHalfSecond);
  }
  return blocked;
}
