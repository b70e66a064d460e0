#ifndef KA_TOOLS_REPLACEMENT_H
#define KA_TOOLS_REPLACEMENT_H

#include <sys/stat.h>

#include <filesystem>
#include <optional>

#include "kaDescriptor.h"

namespace tools {

/// A new version of a file that takes the old one's place at once: who opens the file meanwhile
/// reads the old bytes or the new ones. Owner and mode stay; a link stays a link. What is not
/// committed leaves no trace.
class Replacement {
 public:
  /// Creates an empty file in the same directory.
  /// \throws CannotRun if that fails, or the old owner or mode cannot be given to it.
  explicit Replacement(const std::filesystem::path& file);
  ~Replacement();
  Replacement(const Replacement&) = delete;
  Replacement& operator=(const Replacement&) = delete;

  /// The new file, open for reading and writing.
  int Descriptor() const { return descriptor_.Get(); }
  const std::filesystem::path& DraftFile() const { return draft_; }

  /// Gives the new file another time of its last change than now.
  void SetTime(const timespec& time) const;
  /// Puts the new file in the old one's place, once its bytes are on the disk.
  /// \throws CannotRun if that fails.
  void Commit();

 private:
  std::filesystem::path file_;    ///< as given, for messages
  std::filesystem::path target_;  ///< what a link leads to
  std::filesystem::path draft_;   ///< empty once it is committed
  kaDescriptor descriptor_;
};

/// Copies `file` to `backup`, with its time, owner and mode, unless that exists already: the first
/// original is kept for ever. Creates directories as needed.
/// \throws CannotRun if it cannot be written.
void KeepOriginal(const std::filesystem::path& file, const std::filesystem::path& backup);

}  // namespace tools

#endif
