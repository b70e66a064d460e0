#ifndef KA_TOOLS_FILE_ACCESS_H
#define KA_TOOLS_FILE_ACCESS_H

#include <string>

namespace tools {

// What the server may do with a file or directory. For the superuser, to whom everything is
// allowed, the mode must allow it to somebody: the server usually runs as another user.

bool IsReadableFile(const std::string& path);
bool IsExecutableFile(const std::string& path);
bool IsDirectory(const std::string& path);
/// Whether files can be made and removed in it.
bool IsWritableDirectory(const std::string& path);

}  // namespace tools

#endif
