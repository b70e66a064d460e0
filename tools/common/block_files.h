#ifndef KA_TOOLS_BLOCK_FILES_H
#define KA_TOOLS_BLOCK_FILES_H

#include <filesystem>
#include <vector>

#include "common/language.h"

namespace tools {

/// Says to the user what BlockFiles takes.
inline constexpr Bilingual kBlockFiles = {
    "Dateien mit je einem Block, oder Verzeichnisse, in denen und unter denen alle *.xml zählen",
    "files of one block each, or directories, in and below which all *.xml count"};

/// The data blocks that the paths name: a file stands for itself, a directory for all `*.xml` in
/// and below it in the order of their names. \throw CannotRun for a directory without blocks
std::vector<std::filesystem::path> BlockFiles(const std::vector<std::filesystem::path>& paths);

}  // namespace tools

#endif
