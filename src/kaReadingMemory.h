#ifndef KA_READING_MEMORY_H
#define KA_READING_MEMORY_H

/// While it lives, the C library's allocator suits large documents, of which one after the other is
/// read and given back: what is given back is joined to large pieces at once, and kept. That saves
/// a quarter of the start with thousands of cases. Afterwards the kernel gets back what is
/// free, and the allocator is set for messages. For the main thread at start: the settings are
/// those of the whole process.
class kaReadingMemory {
 public:
  kaReadingMemory();
  ~kaReadingMemory();
  kaReadingMemory(const kaReadingMemory&) = delete;
  kaReadingMemory& operator=(const kaReadingMemory&) = delete;
};

#endif
