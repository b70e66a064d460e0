#ifndef KA_TESTS_SUPPORT_TEMP_DIR_H
#define KA_TESTS_SUPPORT_TEMP_DIR_H

#include <filesystem>
#include <string>

namespace support {

/// A temporary directory of a test's own, removed with everything in it at the end.
class TempDir {
 public:
  TempDir();
  ~TempDir();
  TempDir(const TempDir&) = delete;
  TempDir& operator=(const TempDir&) = delete;

  /// Absolute path without trailing "/".
  const std::string& Path() const { return path_; }
  /// Absolute path of `name` inside the directory.
  std::string Sub(const std::string& name) const { return path_ + "/" + name; }
  /// Writes a file (parent directories are made) and returns its absolute path.
  std::string Write(const std::string& name, const std::string& content) const;
  /// Makes a directory and returns its absolute path.
  std::string MakeDir(const std::string& name) const;

 private:
  std::string path_;
};

/// The whole file, "" if it cannot be read.
std::string ReadFile(const std::string& path);

/// Makes `path` the server's root directory (GlobalCWD) until the end of its life.
class ServerRoot {
 public:
  explicit ServerRoot(const std::string& path);
  ~ServerRoot();
  ServerRoot(const ServerRoot&) = delete;
  ServerRoot& operator=(const ServerRoot&) = delete;

 private:
  std::string before_;
};

}  // namespace support

#endif
