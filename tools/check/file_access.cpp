#include "check/file_access.h"

#include <sys/stat.h>
#include <unistd.h>

#include <optional>

namespace tools {

namespace {

std::optional<mode_t> ModeOf(const std::string& path) {
  struct stat status {};
  if (stat(path.c_str(), &status) != 0) return std::nullopt;
  return status.st_mode;
}

bool IsAllowed(const std::string& path, int access, mode_t anybody) {
  const std::optional<mode_t> mode = ModeOf(path);
  return mode && (*mode & anybody) != 0 && ::access(path.c_str(), access) == 0;
}

bool IsFile(const std::string& path) {
  const std::optional<mode_t> mode = ModeOf(path);
  return mode && S_ISREG(*mode);
}

}  // namespace

bool IsReadableFile(const std::string& path) {
  return IsFile(path) && IsAllowed(path, R_OK, S_IRUSR | S_IRGRP | S_IROTH);
}

bool IsExecutableFile(const std::string& path) {
  return IsFile(path) && IsAllowed(path, X_OK, S_IXUSR | S_IXGRP | S_IXOTH);
}

bool IsDirectory(const std::string& path) {
  const std::optional<mode_t> mode = ModeOf(path);
  return mode && S_ISDIR(*mode);
}

bool IsWritableDirectory(const std::string& path) {
  return IsDirectory(path) && IsAllowed(path, W_OK | X_OK, S_IWUSR | S_IWGRP | S_IWOTH);
}

}  // namespace tools
