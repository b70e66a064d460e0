#ifndef KA_ENGINE_REGULAR_FILE_H
#define KA_ENGINE_REGULAR_FILE_H

// Opens files whose names come from texts and configurations: whatever such a name leads to, the
// program neither hangs nor reads from a device.

#include <stdexcept>
#include <string>

#include "UniqueFd.h"

namespace engine {

/// A file cannot be read; what() names the file and the reason.
class FileError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// Opens a regular file for reading, symbolic links followed. Throws FileError, also for
/// directories, devices, sockets and named pipes (without waiting for a writer).
UniqueFd OpenRegularFile(const std::string& path);

/// The contents of a regular file of at most 1 MiB. Throws FileError.
std::string ReadTextFile(const std::string& path);

}  // namespace engine

#endif
