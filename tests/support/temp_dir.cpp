#include "support/temp_dir.h"

#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>
#include <stdexcept>

#include "ka-tts-server.h"

namespace support {

TempDir::TempDir() {
  std::string name = (std::filesystem::temp_directory_path() / "ka-tts-XXXXXX").string();
  if (mkdtemp(name.data()) == nullptr) throw std::runtime_error("mkdtemp: " + name);
  path_ = name;
}

TempDir::~TempDir() {
  std::error_code ignored;
  std::filesystem::remove_all(path_, ignored);
}

std::string TempDir::Write(const std::string& name, const std::string& content) const {
  const std::filesystem::path path = Sub(name);
  std::filesystem::create_directories(path.parent_path());
  std::ofstream(path, std::ios::binary) << content;
  return path.string();
}

std::string TempDir::MakeDir(const std::string& name) const {
  std::filesystem::create_directories(Sub(name));
  return Sub(name);
}

std::string ReadFile(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

namespace {

void SetRoot(const std::string& path) {
  if (path.size() >= sizeof GlobalCWD) throw std::length_error(path);
  std::memcpy(GlobalCWD, path.c_str(), path.size() + 1);
}

}  // namespace

ServerRoot::ServerRoot(const std::string& path) : before_(GlobalCWD) {
  SetRoot(path);
}

ServerRoot::~ServerRoot() {
  SetRoot(before_);
}

}  // namespace support
