#ifndef KA_ENGINE_UNIQUE_FD_H
#define KA_ENGINE_UNIQUE_FD_H

#include <unistd.h>

#include <utility>

namespace engine {

/// Owns a file descriptor; -1 is none. close() is for callers that need its result.
class UniqueFd {
 public:
  UniqueFd() = default;
  explicit UniqueFd(int fd) : fd_(fd) {}
  UniqueFd(UniqueFd&& other) noexcept : fd_(std::exchange(other.fd_, -1)) {}
  UniqueFd& operator=(UniqueFd&& other) noexcept {
    std::swap(fd_, other.fd_);
    return *this;
  }
  UniqueFd(const UniqueFd&) = delete;
  UniqueFd& operator=(const UniqueFd&) = delete;
  ~UniqueFd() { Close(); }

  int Get() const { return fd_; }
  bool IsValid() const { return fd_ >= 0; }

  /// False if the system reports that data written before are lost.
  bool Close() { return fd_ < 0 || ::close(std::exchange(fd_, -1)) == 0; }

 private:
  int fd_ = -1;
};

}  // namespace engine

#endif
