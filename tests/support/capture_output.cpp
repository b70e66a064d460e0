#include "support/capture_output.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <stdexcept>

namespace support {

CaptureStream::CaptureStream(std::FILE* stream)
    : stream_(stream),
      saved_(fcntl(fileno(stream), F_DUPFD_CLOEXEC, 3)),
      file_(memfd_create("captured", MFD_CLOEXEC)) {
  std::fflush(stream_);
  if (saved_ < 0 || file_ < 0 || dup2(file_, fileno(stream_)) < 0) {
    throw std::runtime_error("cannot capture a standard stream");
  }
}

CaptureStream::~CaptureStream() {
  std::fflush(stream_);
  dup2(saved_, fileno(stream_));
  close(saved_);
  close(file_);
}

std::string CaptureStream::Text() const {
  std::fflush(stream_);
  struct stat status {};
  fstat(file_, &status);
  std::string text(static_cast<std::size_t>(status.st_size), '\0');
  const ssize_t count = pread(file_, text.data(), text.size(), 0);
  text.resize(count > 0 ? static_cast<std::size_t>(count) : 0);
  return text;
}

}  // namespace support
