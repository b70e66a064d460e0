#ifndef KA_TOOLS_FILE_STATE_H
#define KA_TOOLS_FILE_STATE_H

#include <sys/types.h>

#include <ctime>
#include <optional>
#include <string>

namespace tools {

/// What tells one state of a file from another.
struct FileState {
  dev_t Device = 0;
  ino_t Inode = 0;
  off_t Size = 0;
  std::timespec Modified{};  ///< when its content was last written
  std::timespec Changed{};   ///< when its content, its name or its rights were last changed

  bool operator==(const FileState& other) const;
};

/// Nothing if there is no such file.
std::optional<FileState> StateOf(const std::string& path);

bool IsEarlier(const std::timespec& a, const std::timespec& b);

/// Removes a file, unless it was changed since it had that state.
bool RemoveUnchanged(const std::string& path, const FileState& seen);

/// Makes a directory with the rights and, if this process may give it, the owner of its parent.
bool MakeDirectoryLikeParent(const std::string& path);

/// Puts `content` into a file by renaming: a reader sees the old file or the new one. Keeps the
/// mode and, if this process may give it, the owner of the old file; a new one is readable for all.
bool ReplaceFile(const std::string& path, const std::string& content);

}  // namespace tools

#endif
