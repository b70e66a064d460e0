#ifndef KA_FUZZ_PATH_MODEL_H
#define KA_FUZZ_PATH_MODEL_H

#include <string>
#include <vector>

namespace model {

/// Everything before the last "/"; a directory's own "/" at the end does not count.
std::string ParentDirectory(const std::string& path);

/// `path` as seen from the directory `root`.
std::string ResolvedPath(const std::string& root, const std::string& path);

/// `text` up to the first `delimiter`.
std::string Before(const std::string& text, const std::string& delimiter);

std::vector<std::string> PlayListNames(const std::string& list);

/// The number of the command that a text begins with, 0 for none.
int CommandNumber(const std::string& text);

}  // namespace model

#endif
