#include "common/replacement.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <string>
#include <system_error>

#include "common/cannot_run.h"

namespace tools {

namespace {

namespace fs = std::filesystem;

constexpr Bilingual kNotWritten = {"kann nicht geschrieben werden", "cannot be written"};
constexpr Bilingual kOwner = {"kann nicht ersetzt werden, ohne Eigentümer oder Rechte zu verlieren",
                              "cannot be replaced without losing its owner or mode"};
constexpr Bilingual kNoBackup = {
    "die Sicherung kann nicht geschrieben werden; nichts wurde geändert",
    "the backup cannot be written; nothing was changed"};

constexpr mode_t kPermissions = 07777;

/// Gives an open file another one's owner and mode. False if that cannot be done.
bool TakeOwnerAndMode(int descriptor, const struct stat& model) {
  struct stat own {};
  if (::fstat(descriptor, &own) != 0) return false;
  const bool bSameOwner = own.st_uid == model.st_uid && own.st_gid == model.st_gid;
  if (!bSameOwner && ::fchown(descriptor, model.st_uid, model.st_gid) != 0) return false;
  return ::fchmod(descriptor, model.st_mode & kPermissions) == 0;
}

/// A new file in a directory, under a name that nobody has. Invalid if that fails.
kaDescriptor CreateBeside(const fs::path& file, fs::path& name) {
  std::string pattern = file.parent_path() / ".ka-tts.XXXXXX";
  kaDescriptor descriptor(::mkostemp(pattern.data(), O_CLOEXEC));
  if (descriptor.IsValid()) name = pattern;
  return descriptor;
}

}  // namespace

Replacement::Replacement(const fs::path& file) : file_(file) {
  std::error_code unknown;
  target_ = fs::canonical(file, unknown);
  struct stat old {};
  if (unknown || ::stat(target_.c_str(), &old) != 0) throw CannotRun(kNotWritten, file);
  descriptor_ = CreateBeside(target_, draft_);
  if (!descriptor_.IsValid()) throw CannotRun(kNotWritten, file);
  if (TakeOwnerAndMode(Descriptor(), old)) return;
  ::unlink(draft_.c_str());
  throw CannotRun(kOwner, file);
}

Replacement::~Replacement() {
  if (!draft_.empty()) ::unlink(draft_.c_str());
}

void Replacement::SetTime(const timespec& time) const {
  const timespec times[] = {time, time};
  ::futimens(Descriptor(), times);  // a file system without times keeps its own
}

void Replacement::Commit() {
  if (::fsync(Descriptor()) != 0 || ::rename(draft_.c_str(), target_.c_str()) != 0)
    throw CannotRun(kNotWritten, file_);
  draft_.clear();
}

void KeepOriginal(const fs::path& file, const fs::path& backup) {
  std::error_code problem;
  if (fs::exists(backup, problem)) return;
  fs::create_directories(backup.parent_path(), problem);
  struct stat old {};
  const kaDescriptor source = OpenFile(file.c_str(), O_RDONLY);
  fs::path draft;
  const kaDescriptor copy = CreateBeside(backup, draft);
  if (!source.IsValid() || !copy.IsValid()) throw CannotRun(kNoBackup, backup);
  const std::string bytes = ReadAll(source.Get());
  const bool bComplete = ::fstat(source.Get(), &old) == 0 &&
                         bytes.size() == static_cast<std::size_t>(old.st_size) &&
                         WriteAll(copy.Get(), bytes.data(), bytes.size());
  const timespec times[] = {old.st_mtim, old.st_mtim};
  // Who may not give files away keeps the backup as his own.
  TakeOwnerAndMode(copy.Get(), old);
  ::futimens(copy.Get(), times);
  // Unlike a renaming, a link never takes the place of a file that somebody else has just made.
  const bool bKept = bComplete && ::fsync(copy.Get()) == 0 &&
                     (::link(draft.c_str(), backup.c_str()) == 0 || errno == EEXIST);
  ::unlink(draft.c_str());
  if (!bKept) throw CannotRun(kNoBackup, backup);
}

}  // namespace tools
