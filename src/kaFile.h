#ifndef KA_FILE_H
#define KA_FILE_H

#include <string>

#include "kaSuperior.h"

/// The few file operations of the server. Relative paths stand below the executable's directory
/// (GlobalCWD), never below the working directory.
class CkaFile : public CkaSuperior {
 public:
  CkaFile();
  /// Takes `path` and counts as initialised whether or not the file exists (callers that create the
  /// file rely on it); an empty path leaves the object uninitialised.
  explicit CkaFile(const std::string& path);

  bool IsInitialized() const;

  /// Takes `path` if that file exists; otherwise clears the initialised state, keeping the old
  /// path.
  void SetFilePath(const char* path);
  void SetFilePath(const std::string& path);
  std::string GetFilePath() const;

  /// All bytes of a file; "" for one that cannot be opened, "" and a message for one that does not
  /// exist.
  std::string GetFileAsString(const char* path) const;
  std::string GetFileAsString(char* path) const;
  std::string GetFileAsString(const std::string& path) const;
  /// The same for the object's own path; "" when not initialised.
  std::string GetFileAsString() const;

  /// Writes exactly `buflen` bytes to `filepath` (used as it stands, not resolved).
  /// \return false if the file exists and must not be overwritten, or cannot be written.
  bool WriteToFile(const char* filepath, const char* data, int buflen, bool Overwrite) const;
  bool WriteToFile(const char* filepath, const std::string& data, bool Overwrite) const;

  /// Whether anything, directories included, is at the resolved path.
  bool FileExists(const char* path) const;
  bool FileExists(char* path) const;
  bool FileExists(const std::string& path) const;

  /// Whether `path` (not resolved) can be opened as a directory.
  bool IsDir(const char* path) const;
  bool IsDir(const std::string& path) const;

  /// The executable's directory without trailing "/".
  std::string GetCWD() const;

  /// `PathName` up to its last "/"; a directory's trailing "/" is dropped first. "/" stays "/", a
  /// name without "/" stays whole, and of a path of one level nothing remains.
  /// \return "" if `checkExists` and there is no such file.
  std::string GetParentDir(const std::string& PathName, bool checkExists) const;
  std::string GetParentDir(const char* PathName, bool checkExists) const;
  std::string GetParentDir(bool checkExists) const;

  /// Resolves "../", "./" and relative paths against the executable's directory; nothing else in
  /// the path is normalised.
  std::string GetFileNameFromShellPath(std::string PathName) const;
  std::string GetFileNameFromShellPath(const char* PathName) const;

  bool bIsInitialized;
  std::string strFilePath;
  bool bIsOpen;
  bool bIsLocked;
};

#endif
