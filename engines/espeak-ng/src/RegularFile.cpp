#include "RegularFile.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <array>
#include <cerrno>
#include <cstddef>

#include "Failure.h"
#include "TextCleaner.h"

namespace engine {
namespace {

constexpr std::size_t kLargestTextFile = 1024UL * 1024UL;

[[noreturn]] void ThrowFileError(const std::string& path, int errorNumber) {
  throw FileError(WithSystemError("cannot read " + InQuotes(path), errorNumber));
}

}  // namespace

UniqueFd OpenRegularFile(const std::string& path) {
  UniqueFd file(::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC | O_NOCTTY));
  if (!file.IsValid()) ThrowFileError(path, errno);
  struct stat status {};
  if (::fstat(file.Get(), &status) != 0) ThrowFileError(path, errno);
  if (!S_ISREG(status.st_mode)) throw FileError(InQuotes(path) + " is not a regular file");
  return file;
}

std::string ReadTextFile(const std::string& path) {
  const UniqueFd file = OpenRegularFile(path);
  std::string text;
  std::array<char, 4096> buffer;
  while (text.size() <= kLargestTextFile) {
    const ssize_t count = ::read(file.Get(), buffer.data(), buffer.size());
    if (count < 0 && errno != EINTR) ThrowFileError(path, errno);
    if (count == 0) return text;
    if (count > 0) text.append(buffer.data(), static_cast<std::size_t>(count));
  }
  throw FileError(InQuotes(path) + " is larger than 1 MiB");
}

}  // namespace engine
