// Preloaded into a server under test: takes memory away. The file named by KA_MEMORY holds what is
// shared with the test.

#include "memory_shim.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>

extern "C" {
void* __libc_malloc(std::size_t size);
void* __libc_calloc(std::size_t count, std::size_t size);
void* __libc_realloc(void* memory, std::size_t size);
}

namespace {

servertest::MemoryPlan* gPlan = nullptr;

__attribute__((constructor)) void FindPlan() {
  unsetenv("LD_PRELOAD");                             // NOLINT(concurrency-mt-unsafe)
  const char* const path = std::getenv("KA_MEMORY");  // NOLINT(concurrency-mt-unsafe)
  const int file = path == nullptr ? -1 : open(path, O_RDWR | O_CLOEXEC);
  if (file < 0) return;
  void* const memory =
      mmap(nullptr, sizeof(servertest::MemoryPlan), PROT_READ | PROT_WRITE, MAP_SHARED, file, 0);
  close(file);
  if (memory != MAP_FAILED) gPlan = static_cast<servertest::MemoryPlan*>(memory);
}

bool IsRefused() {
  if (gPlan == nullptr || !gPlan->Active) return false;
  const long number = ++gPlan->Count;
  const bool refused = number == gPlan->First || (gPlan->AllFollowing && number > gPlan->First);
  if (refused) errno = ENOMEM;
  return refused;
}

}  // namespace

extern "C" void* malloc(std::size_t size) noexcept {
  return IsRefused() ? nullptr : __libc_malloc(size);
}

extern "C" void* calloc(std::size_t count, std::size_t size) noexcept {
  return IsRefused() ? nullptr : __libc_calloc(count, size);
}

extern "C" void* realloc(void* memory, std::size_t size) noexcept {
  return IsRefused() ? nullptr : __libc_realloc(memory, size);
}
