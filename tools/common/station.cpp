#include "common/station.h"

#include <algorithm>
#include <fstream>
#include <iterator>
#include <system_error>

#include "common/cannot_run.h"
#include "ka-tts-server.h"
#include "kaFile.h"
#include "kaShell.h"

namespace tools {

namespace {

namespace fs = std::filesystem;

constexpr Bilingual kNoDirectory = {"ist kein Verzeichnis", "is no directory"};
constexpr Bilingual kLongName = {"hat einen zu langen Namen", "has a name that is too long"};
constexpr Bilingual kNoStation = {"gibt es nicht; --station nennt das Verzeichnis der Station",
                                  "does not exist; --station names the directory of the station"};
constexpr Bilingual kUnreadable = {"kann nicht gelesen werden", "cannot be read"};

constexpr int kRefused = -1;

int RefuseToRun(const std::string& /*command*/) {
  return kRefused;
}

std::string RealDirectory(const fs::path& directory) {
  std::error_code missing;
  const fs::path real = fs::canonical(directory, missing);
  if (missing || !fs::is_directory(real, missing)) throw CannotRun(kNoDirectory, directory);
  return real == "/" ? "" : real.string();
}

void SetServerRoot(const std::string& root) {
  if (root.size() >= sizeof GlobalCWD) throw CannotRun(kLongName, root);
  *std::copy(root.begin(), root.end(), GlobalCWD) = '\0';
}

}  // namespace

Station::Station(const fs::path& directory) : root_(RealDirectory(directory)) {
  SetServerRoot(root_);
  SetShellRunner(RefuseToRun);
  if (!fs::is_regular_file(Config())) throw CannotRun(kNoStation, Config());
  static_cast<void>(Read(Config()));
  configReports_ = Silently([this] { profile_.Initialize(Config()); });
}

std::string Station::Config() const {
  return root_ + "/kaconfig/kaTtsServer.kacfg";
}

std::string Station::Messages() const {
  return root_ + "/messages";
}

std::string Station::LexiconDir(const std::string& language) const {
  return root_ + "/lexidata/" + language;
}

std::string Station::Document() const {
  return Resolve(Value("speechformat"));
}

std::string Station::Resolve(const std::string& path) const {
  return CkaFile().GetFileNameFromShellPath(path);
}

std::string Station::Value(const std::string& key) const {
  std::string value;
  Silently([&] { value = profile_.GetValueString(key); });
  return value;
}

fs::path ProgramDirectory() {
  std::error_code unknown;
  return fs::read_symlink("/proc/self/exe", unknown).parent_path();
}

std::string Read(const fs::path& file) {
  std::ifstream stream(file, std::ios::binary);
  std::error_code unknown;
  if (!stream || fs::is_directory(file, unknown)) throw CannotRun(kUnreadable, file);
  std::string bytes{std::istreambuf_iterator<char>(stream), {}};
  if (stream.bad()) throw CannotRun(kUnreadable, file);
  return bytes;
}

std::vector<kaReport> Silently(const std::function<void()>& work) {
  std::vector<kaReport> reports;
  const kaOutputCapture capture(reports, true);
  work();
  return reports;
}

}  // namespace tools
