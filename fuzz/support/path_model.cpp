#include "support/path_model.h"

#include <filesystem>

namespace model {

namespace {

bool BeginsWith(const std::string& text, const std::string& beginning) {
  return text.substr(0, beginning.size()) == beginning;
}

bool IsDirectory(const std::string& path) {
  std::error_code ignored;
  return std::filesystem::is_directory(path, ignored);
}

}  // namespace

std::string ParentDirectory(const std::string& path) {
  if (path == "/") return path;
  std::string parent = path;
  if (!parent.empty() && parent.back() == '/' && IsDirectory(parent)) {
    parent.resize(parent.size() - 1);
  }
  for (std::size_t i = parent.size(); i > 0; --i) {
    if (parent[i - 1] == '/') return parent.substr(0, i - 1);
  }
  return parent;
}

std::string ResolvedPath(const std::string& root, const std::string& path) {
  if (BeginsWith(path, "../")) {
    std::string directory = root;
    std::string rest = path;
    while (BeginsWith(rest, "../")) {
      directory = ParentDirectory(directory);
      rest = rest.substr(3);
    }
    return directory + "/" + rest;
  }
  if (BeginsWith(path, "./")) return root + path.substr(1);
  return BeginsWith(path, "/") ? path : root + "/" + path;
}

std::string Before(const std::string& text, const std::string& delimiter) {
  for (std::size_t i = 0; i + delimiter.size() <= text.size(); ++i) {
    if (text.compare(i, delimiter.size(), delimiter) == 0) return text.substr(0, i);
  }
  return text;
}

std::vector<std::string> PlayListNames(const std::string& list) {
  std::vector<std::string> names;
  std::string name;
  bool isOpen = false;  // whether anything has come since the last comma
  for (const char c : list) {
    if (c == ' ') continue;
    isOpen = c != ',';
    if (isOpen) {
      name += c;
    } else {
      names.push_back(name);
      name.clear();
    }
  }
  if (isOpen) names.push_back(name);
  return names;
}

int CommandNumber(const std::string& text) {
  if (BeginsWith(text, "!restart")) return 1;
  if (BeginsWith(text, "!terminate")) return 2;
  if (BeginsWith(text, "!reboot-stamp")) return 3;
  if (BeginsWith(text, "!bell")) return 4;
  if (BeginsWith(text, "!stop")) return 5;
  return 0;
}

}  // namespace model
