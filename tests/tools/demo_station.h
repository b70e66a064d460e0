#ifndef KA_TESTS_TOOLS_DEMO_STATION_H
#define KA_TESTS_TOOLS_DEMO_STATION_H

#include <filesystem>
#include <string>

#include "support/temp_dir.h"

namespace toolstest {

/// The project's own directory.
std::filesystem::path Project();

/// The demo station as it is staged, in a temporary directory of its own; the server and its engine
/// are stubs that do nothing.
class DemoStation {
 public:
  DemoStation();

  const std::string& Dir() const { return dir_.Path(); }
  std::string Sub(const std::string& name) const { return dir_.Sub(name); }
  std::string Write(const std::string& name, const std::string& content) const {
    return dir_.Write(name, content);
  }
  /// Copies the files below `directory` over those of the station. In a configuration @STAGE@
  /// stands for the station's directory.
  void Overlay(const std::filesystem::path& directory) const;
  /// Replaces the only occurrence of `from` in a file.
  void Replace(const std::string& name, const std::string& from, const std::string& to) const;

 private:
  support::TempDir dir_;
};

}  // namespace toolstest

#endif
