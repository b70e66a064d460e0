#include "kaFile.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>

#include "ka-tts-server.h"
#include "kaDescriptor.h"
#include "kaOutput.h"

CkaFile::CkaFile() : bIsInitialized(false), bIsOpen(false), bIsLocked(false) {
  _KA_THISCLASS_MSG_ID = 3000;
}

CkaFile::CkaFile(const std::string& path) : CkaFile() {
  if (path.empty()) return;
  SetFilePath(path);
  bIsInitialized = true;
}

bool CkaFile::IsInitialized() const {
  return bIsInitialized;
}

void CkaFile::SetFilePath(const char* path) {
  SetFilePath(std::string(path));
}

void CkaFile::SetFilePath(const std::string& path) {
  bIsInitialized = FileExists(path);
  if (bIsInitialized) strFilePath = GetFileNameFromShellPath(path);
}

std::string CkaFile::GetFilePath() const {
  return strFilePath;
}

std::string CkaFile::GetFileAsString(const char* path) const {
  return GetFileAsString(std::string(path));
}

std::string CkaFile::GetFileAsString(char* path) const {
  return GetFileAsString(std::string(path));
}

std::string CkaFile::GetFileAsString(const std::string& path) const {
  const std::string resolved = GetFileNameFromShellPath(path);
  if (!FileExists(resolved)) {
    PrintErr("File does not exist: \"" + resolved + "\" !! \n");
    return "";
  }
  return ReadAll(OpenFile(resolved.c_str(), O_RDONLY).Get());
}

std::string CkaFile::GetFileAsString() const {
  return bIsInitialized ? GetFileAsString(strFilePath) : "";
}

bool CkaFile::WriteToFile(const char* filepath, const char* data, int buflen,
                          bool Overwrite) const {
  if (!Overwrite && FileExists(filepath)) return false;
  const kaDescriptor file = OpenFile(filepath, O_WRONLY | O_CREAT | O_TRUNC);
  const std::size_t size = buflen > 0 ? static_cast<std::size_t>(buflen) : 0;
  return file.IsValid() && WriteAll(file.Get(), data, size);
}

bool CkaFile::WriteToFile(const char* filepath, const std::string& data, bool Overwrite) const {
  return WriteToFile(filepath, data.data(), static_cast<int>(data.size()), Overwrite);
}

bool CkaFile::FileExists(const char* path) const {
  return FileExists(std::string(path));
}

bool CkaFile::FileExists(char* path) const {
  return FileExists(std::string(path));
}

bool CkaFile::FileExists(const std::string& path) const {
  struct stat status {};
  return stat(GetFileNameFromShellPath(path).c_str(), &status) == 0;
}

bool CkaFile::IsDir(const char* path) const {
  DIR* directory = opendir(path);
  if (directory == nullptr) return false;
  closedir(directory);
  return true;
}

bool CkaFile::IsDir(const std::string& path) const {
  return IsDir(path.c_str());
}

std::string CkaFile::GetCWD() const {
  return GlobalCWD;
}

std::string CkaFile::GetParentDir(const std::string& PathName, bool checkExists) const {
  if (checkExists && !FileExists(PathName)) return "";
  if (PathName == "/") return "/";
  std::string path = PathName;
  if (path.ends_with('/') && IsDir(path)) path.pop_back();
  // Without any "/" this is the whole name: `rfind` then gives npos.
  return path.substr(0, path.rfind('/'));
}

std::string CkaFile::GetParentDir(const char* PathName, bool checkExists) const {
  return GetParentDir(std::string(PathName), checkExists);
}

std::string CkaFile::GetParentDir(bool checkExists) const {
  return GetParentDir(strFilePath, checkExists);
}

std::string CkaFile::GetFileNameFromShellPath(std::string PathName) const {
  constexpr const char* kUp = "../";
  if (PathName.starts_with(kUp)) {
    std::string directory = GetCWD();
    for (; PathName.starts_with(kUp); PathName.erase(0, 3)) {
      directory = GetParentDir(directory, false);
    }
    return directory + "/" + PathName;
  }
  if (PathName.starts_with("./")) return GetCWD() + PathName.substr(1);
  if (!PathName.starts_with('/')) return GetCWD() + "/" + PathName;
  return PathName;
}

std::string CkaFile::GetFileNameFromShellPath(const char* PathName) const {
  return GetFileNameFromShellPath(std::string(PathName));
}
