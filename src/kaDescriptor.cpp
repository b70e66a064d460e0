#include "kaDescriptor.h"

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <utility>

kaDescriptor::kaDescriptor(int descriptor) : nDescriptor(descriptor) {}

kaDescriptor::~kaDescriptor() {
  Close();
}

kaDescriptor::kaDescriptor(kaDescriptor&& other) noexcept
    : nDescriptor(std::exchange(other.nDescriptor, -1)) {}

kaDescriptor& kaDescriptor::operator=(kaDescriptor&& other) noexcept {
  std::swap(nDescriptor, other.nDescriptor);
  return *this;
}

void kaDescriptor::Close() {
  // The descriptor is gone whatever `close` returns.
  if (IsValid()) close(std::exchange(nDescriptor, -1));
}

kaDescriptor OpenFile(const char* path, int flags) {
  constexpr mode_t kNotExecutable = 0666;
  int descriptor = -1;
  do {
    descriptor = open(path, flags | O_CLOEXEC, kNotExecutable);
  } while (descriptor < 0 && errno == EINTR);
  return kaDescriptor(descriptor);
}

std::string ReadAll(int descriptor) {
  std::string content;
  std::array<char, 65536> block;
  ssize_t count = 0;
  do {
    count = read(descriptor, block.data(), block.size());
    if (count > 0) content.append(block.data(), static_cast<std::size_t>(count));
  } while (count > 0 || (count < 0 && errno == EINTR));
  return content;
}

bool WriteAll(int descriptor, const char* data, std::size_t size) {
  while (size > 0) {
    const ssize_t written = write(descriptor, data, size);
    if (written < 0 && errno == EINTR) continue;
    if (written < 0) return false;
    data += written;
    size -= static_cast<std::size_t>(written);
  }
  return true;
}
