#include "common/block_files.h"

#include <algorithm>

#include "common/cannot_run.h"

namespace tools {

namespace {

namespace fs = std::filesystem;

constexpr Bilingual kNoBlocks = {"enthält keine Blöcke (*.xml)", "holds no blocks (*.xml)"};

std::vector<fs::path> BlocksBelow(const fs::path& directory) {
  std::vector<fs::path> files;
  for (const fs::directory_entry& entry : fs::recursive_directory_iterator(directory)) {
    if (entry.is_regular_file() && entry.path().extension() == ".xml") {
      files.push_back(entry.path());
    }
  }
  if (files.empty()) throw CannotRun(kNoBlocks, directory);
  std::sort(files.begin(), files.end());
  return files;
}

}  // namespace

std::vector<fs::path> BlockFiles(const std::vector<fs::path>& paths) {
  std::vector<fs::path> files;
  for (const fs::path& path : paths) {
    const std::vector<fs::path> named =
        fs::is_directory(path) ? BlocksBelow(path) : std::vector<fs::path>{path};
    files.insert(files.end(), named.begin(), named.end());
  }
  return files;
}

}  // namespace tools
