#ifndef KA_TOOLS_FILE_WATCH_H
#define KA_TOOLS_FILE_WATCH_H

#include <filesystem>
#include <map>
#include <set>
#include <string>

#include "kaDescriptor.h"

namespace tools {

/// Waits until a file changes. Directories are watched, since editors replace files by new ones.
class FileWatch {
 public:
  /// \throws CannotRun if the system gives no more watches.
  FileWatch();

  /// Watches a file, whether or not it exists. Nothing if its directory does not exist.
  void AddFile(const std::filesystem::path& file);
  /// Watches all files of a directory.
  void AddDirectory(const std::filesystem::path& directory);

  /// Waits until one of the files is written, made, moved or removed, and then until no more does
  /// for a moment. What changed since it was added counts. \return its path
  std::filesystem::path Wait();

 private:
  struct Watched {
    std::filesystem::path Directory;
    bool bWhole = false;
    std::set<std::string> Names;
  };

  Watched* Watch(const std::filesystem::path& directory);
  std::filesystem::path ReadEvents();

  kaDescriptor events_;
  std::map<int, Watched> watched_;
};

}  // namespace tools

#endif
