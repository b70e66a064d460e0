#include "WavFile.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <array>
#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <utility>

#include "Failure.h"
#include "TextCleaner.h"

namespace engine {
namespace {

constexpr std::size_t kHeaderBytes = 44;
constexpr std::size_t kBufferBytes = 65536;
constexpr std::uint16_t kPcm = 1;
constexpr std::uint16_t kChannels = 1;
constexpr std::uint16_t kBytesPerSample = 2;
constexpr std::size_t kMostBytes = std::size_t{3600} * kSampleRate * kBytesPerSample;

// The fields of a .wav header.
class HeaderBuilder {
 public:
  HeaderBuilder& Tag(std::string_view name) {
    bytes_ += name;
    return *this;
  }
  HeaderBuilder& Short(std::uint16_t value) { return Number(value, 2); }
  HeaderBuilder& Long(std::size_t value) { return Number(value, 4); }

  const std::string& Bytes() const { return bytes_; }

 private:
  // The lowest byte first.
  HeaderBuilder& Number(std::size_t value, int count) {
    for (int i = 0; i < count; ++i, value >>= 8U)
      bytes_.push_back(static_cast<char>(value & 0xFFU));
    return *this;
  }

  std::string bytes_;
};

void RefuseUnlessRegular(const std::filesystem::path& target) {
  struct stat status {};
  if (::lstat(target.c_str(), &status) == 0 && !S_ISREG(status.st_mode)) {
    throw Failure(InQuotes(target.string()) + " is not a regular file");
  }
}

// The permissions that a file made by open() would have; mkostemp grants the owner alone.
mode_t UsualPermissions() {
  const mode_t mask = ::umask(0);
  ::umask(mask);
  return 0666U & ~mask;
}

}  // namespace

WavFile::WavFile(std::filesystem::path target) : target_(std::move(target)) {
  RefuseUnlessRegular(target_);
  CreateTemporary();
}

WavFile::~WavFile() {
  if (!temporary_.empty()) ::unlink(temporary_.c_str());  // nothing to do about a failure
}

void WavFile::Write(Samples samples) {
  buffer_.append(reinterpret_cast<const char*>(samples.data()), samples.size_bytes());
  if (buffer_.size() >= kBufferBytes) WriteBuffer();
}

void WavFile::Commit() {
  if (bytesWritten_ + buffer_.size() == 0) Write(std::array<std::int16_t, kSampleRate / 10>{});
  WriteBuffer();
  WriteHeader();
  if (!descriptor_.Close()) ThrowSystemError("write");
  if (std::rename(temporary_.c_str(), target_.c_str()) != 0) ThrowSystemError("replace");
  temporary_.clear();
}

void WavFile::CreateTemporary() {
  std::string name = (target_.parent_path() / ".ka-espeak-ng.XXXXXX").string();
  descriptor_ = UniqueFd(::mkostemp(name.data(), O_CLOEXEC));
  if (!descriptor_.IsValid()) ThrowSystemError("create a file beside");
  temporary_ = name;
  ::fchmod(descriptor_.Get(), UsualPermissions());  // some file systems have no permissions
}

void WavFile::WriteBuffer() {
  if (bytesWritten_ + buffer_.size() > kMostBytes) {
    throw Failure("the announcement is longer than an hour");
  }
  WriteAt(kHeaderBytes + bytesWritten_, buffer_);
  bytesWritten_ += buffer_.size();
  buffer_.clear();
}

void WavFile::WriteHeader() {
  HeaderBuilder header;
  header.Tag("RIFF").Long(kHeaderBytes - 8 + bytesWritten_).Tag("WAVE");
  header.Tag("fmt ").Long(16).Short(kPcm).Short(kChannels).Long(kSampleRate);
  header.Long(std::size_t{kSampleRate} * kBytesPerSample).Short(kBytesPerSample).Short(16);
  header.Tag("data").Long(bytesWritten_);
  WriteAt(0, header.Bytes());
}

void WavFile::WriteAt(std::size_t offset, std::string_view bytes) const {
  std::size_t done = 0;
  while (done < bytes.size()) {
    const ssize_t count = ::pwrite(descriptor_.Get(), bytes.data() + done, bytes.size() - done,
                                   static_cast<off_t>(offset + done));
    if (count < 0 && errno != EINTR) ThrowSystemError("write");
    if (count > 0) done += static_cast<std::size_t>(count);
  }
}

void WavFile::ThrowSystemError(const std::string& action) const {
  const int errorNumber = errno;
  throw Failure(
      WithSystemError("cannot " + action + " " + InQuotes(target_.string()), errorNumber));
}

}  // namespace engine
