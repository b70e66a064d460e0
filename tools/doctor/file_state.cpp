#include "doctor/file_state.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>

#include "kaDescriptor.h"

namespace tools {

namespace {

namespace fs = std::filesystem;

bool IsSame(const std::timespec& a, const std::timespec& b) {
  return a.tv_sec == b.tv_sec && a.tv_nsec == b.tv_nsec;
}

/// Only the superuser can give files away; anybody else's files are his own already.
bool GiveTo(int file, const struct stat& owner) {
  return geteuid() != 0 || fchown(file, owner.st_uid, owner.st_gid) == 0;
}

bool WriteNewFile(int file, const struct stat& model, const std::string& content) {
  return GiveTo(file, model) && fchmod(file, model.st_mode & 0777U) == 0 &&
         WriteAll(file, content.data(), content.size()) && fsync(file) == 0;
}

/// The old file or, for a new one, the directory with the usual mode of files.
bool FindModel(const std::string& path, const fs::path& directory, struct stat& model) {
  if (stat(path.c_str(), &model) == 0) return S_ISREG(model.st_mode);
  if (stat(directory.c_str(), &model) != 0) return false;
  model.st_mode = 0644;
  return true;
}

}  // namespace

bool FileState::operator==(const FileState& other) const {
  return Device == other.Device && Inode == other.Inode && Size == other.Size &&
         IsSame(Modified, other.Modified) && IsSame(Changed, other.Changed);
}

std::optional<FileState> StateOf(const std::string& path) {
  struct stat status {};
  if (stat(path.c_str(), &status) != 0) return std::nullopt;
  return FileState{status.st_dev, status.st_ino, status.st_size, status.st_mtim, status.st_ctim};
}

bool IsEarlier(const std::timespec& a, const std::timespec& b) {
  return a.tv_sec != b.tv_sec ? a.tv_sec < b.tv_sec : a.tv_nsec < b.tv_nsec;
}

bool RemoveUnchanged(const std::string& path, const FileState& seen) {
  return StateOf(path) == seen && unlink(path.c_str()) == 0;
}

bool MakeDirectoryLikeParent(const std::string& path) {
  const fs::path normal = fs::path(path).lexically_normal();
  const std::string name = normal.filename().string();
  const kaDescriptor parent = OpenFile(normal.parent_path().c_str(), O_RDONLY | O_DIRECTORY);
  struct stat model {};
  if (!parent.IsValid() || fstat(parent.Get(), &model) != 0) return false;
  if (mkdirat(parent.Get(), name.c_str(), 0700) != 0) return false;
  const kaDescriptor directory(
      openat(parent.Get(), name.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
  return directory.IsValid() && GiveTo(directory.Get(), model) &&
         fchmod(directory.Get(), model.st_mode & 0777U) == 0;
}

bool ReplaceFile(const std::string& path, const std::string& content) {
  const fs::path directory = fs::path(path).has_parent_path() ? fs::path(path).parent_path() : ".";
  struct stat model {};
  if (!FindModel(path, directory, model)) return false;
  // Hidden, and without the ending that collectors of such files look for.
  std::string name = (directory / ".ka-tts-doctor.XXXXXX").string();
  const kaDescriptor file(mkostemp(name.data(), O_CLOEXEC));
  if (!file.IsValid()) return false;
  if (WriteNewFile(file.Get(), model, content) && std::rename(name.c_str(), path.c_str()) == 0)
    return true;
  unlink(name.c_str());
  return false;
}

}  // namespace tools
