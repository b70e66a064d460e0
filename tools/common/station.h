#ifndef KA_TOOLS_STATION_H
#define KA_TOOLS_STATION_H

#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "kaOutput.h"
#include "kaProfile.h"

namespace tools {

/// A staged or installed station: the directory in which a server runs, with its configuration. One
/// per process: it becomes the root of the server's code. Nothing in it is changed, nothing is
/// started, and nothing that the server's code prints is shown.
class Station {
 public:
  /// \throws CannotRun if `directory` has no configuration that can be read.
  explicit Station(const std::filesystem::path& directory);

  /// The directory's real path, without trailing "/".
  const std::string& Root() const { return root_; }
  std::string Config() const;
  std::string Messages() const;
  std::string LexiconDir(const std::string& language) const;
  /// The configured announcement document.
  std::string Document() const;
  /// A path of the configuration or the document, as the server resolves it.
  std::string Resolve(const std::string& path) const;

  const CkaProfile& Profile() const { return profile_; }
  /// What the server printed about the configuration, e.g. faulty rows.
  const std::vector<kaReport>& ConfigReports() const { return configReports_; }
  /// The value of a key, "" if there is none.
  std::string Value(const std::string& key) const;

 private:
  std::string root_;
  CkaProfile profile_;
  std::vector<kaReport> configReports_;
};

/// The directory of the running program, where `--station` looks by default.
std::filesystem::path ProgramDirectory();

/// All bytes of a file.
/// \throws CannotRun if it cannot be read.
std::string Read(const std::filesystem::path& file);

/// Runs `work`, which calls the server's code, and gives what that printed instead of printing it.
std::vector<kaReport> Silently(const std::function<void()>& work);

}  // namespace tools

#endif
