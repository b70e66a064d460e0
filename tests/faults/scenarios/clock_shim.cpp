// Preloaded into a server under test: its wall clock is the machine's plus as many seconds as the
// file named by KA_CLOCK_OFFSET holds (a number of eight bytes). The monotonic clock stays.

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <atomic>
#include <cstdint>
#include <cstdlib>
#include <ctime>

namespace {

const std::int64_t* MapOffset() {
  static const std::int64_t kNone = 0;
  const char* const path = std::getenv("KA_CLOCK_OFFSET");  // NOLINT(concurrency-mt-unsafe)
  if (path == nullptr) return &kNone;
  const int file = open(path, O_RDONLY | O_CLOEXEC);
  if (file < 0) return &kNone;
  void* const memory = mmap(nullptr, sizeof(std::int64_t), PROT_READ, MAP_SHARED, file, 0);
  close(file);
  return memory == MAP_FAILED ? &kNone : static_cast<const std::int64_t*>(memory);
}

std::int64_t Offset() {
  static const std::int64_t* const offset = MapOffset();
  return *static_cast<const volatile std::int64_t*>(offset);
}

}  // namespace

extern "C" int clock_gettime(clockid_t clock, timespec* now) noexcept {
  const long result = syscall(SYS_clock_gettime, clock, now);
  if (result == 0 && clock == CLOCK_REALTIME) now->tv_sec += Offset();
  return static_cast<int>(result);
}

extern "C" time_t time(time_t* result) noexcept {
  timespec now{};
  clock_gettime(CLOCK_REALTIME, &now);
  if (result != nullptr) *result = now.tv_sec;
  return now.tv_sec;
}
