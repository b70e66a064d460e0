#include "words/speaker.h"

#include <unistd.h>

#include <cstdlib>
#include <fstream>
#include <sstream>
#include <system_error>

#include "CommandLine.h"
#include "common/cannot_run.h"
#include "kaFile.h"

namespace tools {

namespace {

namespace fs = std::filesystem;

constexpr Bilingual kNotWritten = {"kann nicht geschrieben werden", "cannot be written"};

/// For a shell, whatever is in it. The server's own double quotes let a shell read "$" in a text.
std::string Quoted(const std::string& text) {
  std::string quoted = "'";
  for (const char c : text)
    quoted += c == '\'' ? "'\\''" : std::string(1, c);
  return quoted + "'";
}

std::string Command(const Station& station, const std::string& kind) {
  return station.Value(kind + station.Value("engineName"));
}

/// The tool's one way to start something, and only where its user has asked for sound. The server's
/// code keeps its runner that refuses.
bool Run(const std::string& command) {
  return std::system(command.c_str()) == 0;
}

/// A text file for the engine, gone at the end.
class TextFile {
 public:
  explicit TextFile(const std::string& text) {
    std::string name = (fs::temp_directory_path() / "ka-tts-XXXXXX").string();
    const int descriptor = ::mkstemp(name.data());
    if (descriptor >= 0) ::close(descriptor);
    path_ = name;
    std::ofstream(path_, std::ios::binary) << text;
    if (descriptor < 0) throw CannotRun(kNotWritten, path_);
  }
  ~TextFile() {
    std::error_code gone;
    fs::remove(path_, gone);
  }
  TextFile(const TextFile&) = delete;
  TextFile& operator=(const TextFile&) = delete;

  std::string Path() const { return path_.string(); }

 private:
  fs::path path_;
};

}  // namespace

bool Play(const Station& station, const std::string& text) {
  const std::string directory = station.Value("rootDir") + station.Value("engineName");
  return Run("cd " + Quoted(directory) + " && " + Command(station, "speakout") + " " +
             Quoted(text));
}

bool Save(const Station& station, const std::string& text, const fs::path& file) {
  const TextFile input(text);
  const std::string engine = Command(station, "savespeech");
  const std::string directory = CkaFile().GetParentDir(engine, false);
  return Run("cd " + Quoted(directory) + " && " + engine + " " + Quoted(input.Path()) + " " +
             Quoted(fs::absolute(file).string()));
}

std::string DefaultVoice(const Station& station) {
  std::istringstream words(Command(station, "savespeech"));
  std::string voice = engine::CommandLine().voice;
  for (std::string word; words >> word;) {
    if (word == "--voice") words >> voice;
  }
  return voice;
}

}  // namespace tools
