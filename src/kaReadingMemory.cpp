#include "kaReadingMemory.h"

#include <malloc.h>

#include <cstddef>

namespace {

constexpr int kMegabyte = 1 << 20;

/// While documents are read, free memory up to this size is kept, and pieces up to it come from
/// there. It is the most that the C library takes.
constexpr int kMostKept = 32 * kMegabyte;

/// The C library's own value: smaller pieces are not joined when they are given back.
constexpr int kSmallPieces = 64 * static_cast<int>(sizeof(std::size_t)) / 4;

}  // namespace

// Documents are read before there is a second thread.
// NOLINTBEGIN(concurrency-mt-unsafe)
kaReadingMemory::kaReadingMemory() {
  mallopt(M_MXFAST, 0);
  mallopt(M_MMAP_THRESHOLD, kMostKept);
  mallopt(M_TRIM_THRESHOLD, kMostKept);
}

kaReadingMemory::~kaReadingMemory() {
  mallopt(M_MXFAST, kSmallPieces);
  // Once it was told one of these sizes, the allocator no longer finds them by itself. They stand
  // in the relation that it uses, and leave room for the case results of large documents.
  mallopt(M_MMAP_THRESHOLD, kMegabyte);
  mallopt(M_TRIM_THRESHOLD, 2 * kMegabyte);
  malloc_trim(0);
}
// NOLINTEND(concurrency-mt-unsafe)
