#include "kaReadingMemory.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <fstream>
#include <string>
#include <vector>

namespace {

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool kHasTheLibrarysAllocator = false;
#else
constexpr bool kHasTheLibrarysAllocator = true;
#endif

constexpr long kMegabyte = 1 << 20;

long ResidentBytes() {
  std::ifstream file("/proc/self/statm");
  long total = 0;
  long resident = 0;
  file >> total >> resident;
  return resident * sysconf(_SC_PAGESIZE);
}

/// Takes and gives back 20 MB in small pieces, as the nodes of a document are.
void UseMemory() {
  std::vector<std::string> pieces;
  pieces.reserve(100'000);
  for (int i = 0; i < 100'000; ++i)
    pieces.emplace_back(180, 'x');
}

}  // namespace

TEST(ReadingMemory, KeepsWhatIsFreeAndGivesItBackInTheEnd) {
  if (!kHasTheLibrarysAllocator) GTEST_SKIP() << "sanitizers have an allocator of their own";
  const long before = ResidentBytes();
  {
    const kaReadingMemory memory;
    UseMemory();
    EXPECT_GT(ResidentBytes(), before + 15 * kMegabyte);
  }
  EXPECT_LT(ResidentBytes(), before + 3 * kMegabyte);
}

TEST(ReadingMemory, AfterwardsTheAllocatorGivesMemoryBackByItself) {
  if (!kHasTheLibrarysAllocator) GTEST_SKIP() << "sanitizers have an allocator of their own";
  { const kaReadingMemory memory; }
  const long before = ResidentBytes();
  UseMemory();
  EXPECT_LT(ResidentBytes(), before + 5 * kMegabyte);
}
