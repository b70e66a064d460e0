#include "preview/speech_files.h"

#include <sys/wait.h>

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <string_view>
#include <system_error>

#include "common/cannot_run.h"
#include "common/station.h"
#include "kaFile.h"
#include "kaShell.h"

namespace tools {

namespace {

namespace fs = std::filesystem;

constexpr Bilingual kNoDirectory = {"kann nicht angelegt werden", "cannot be made"};
constexpr Bilingual kUnfitName = {
    "hat Zeichen im Namen, die in der Befehlszeile der Engine etwas anderes bedeuten",
    "has characters in its name that mean something else in the engine's command line"};
constexpr Bilingual kNotWritten = {"kann nicht geschrieben werden", "cannot be written"};
constexpr Bilingual kNoSpeech = {"ist nicht entstanden: die Engine ist gescheitert",
                                 "was not made: the engine failed"};

/// Letters and digits of all languages, and a few signs.
bool IsPlain(char c) {
  constexpr std::string_view kSigns = "-_.+,:@%=";
  const auto byte = static_cast<unsigned char>(c);
  return byte >= 0x80 || (byte >= '0' && byte <= '9') || (byte >= 'a' && byte <= 'z') ||
         (byte >= 'A' && byte <= 'Z') || kSigns.find(c) != std::string_view::npos;
}

bool IsPlainPath(const std::string& path) {
  return std::all_of(path.begin(), path.end(), [](char c) { return c == '/' || IsPlain(c); });
}

/// Runs a command with its output on standard error. A Ctrl-C meant for it ends this program, too.
int RunBeside(const std::string& command) {
  const int status = std::system(("{ " + command + "\n} >&2").c_str());
  if (WIFSIGNALED(status) && WTERMSIG(status) == SIGINT) static_cast<void>(std::raise(SIGINT));
  return status;
}

/// Allows programs to be started while it lives.
class OpenShell {
 public:
  OpenShell() : before_(SetShellRunner(RunBeside)) {}
  ~OpenShell() { SetShellRunner(before_); }
  OpenShell(const OpenShell&) = delete;
  OpenShell& operator=(const OpenShell&) = delete;

 private:
  kaShellRunner before_;
};

}  // namespace

SpeechFiles::SpeechFiles(const CkaSpeechbuilder& builder, const fs::path& directory)
    : builder_(builder) {
  std::error_code failed;
  fs::create_directories(directory, failed);
  directory_ = fs::canonical(directory, failed);
  if (failed || !fs::is_directory(directory_, failed)) throw CannotRun(kNoDirectory, directory);
  if (!IsPlainPath(directory_)) throw CannotRun(kUnfitName, directory_);
}

void SpeechFiles::Make(const std::string& name, const std::string& text) {
  const fs::path textFile = directory_ / name;
  if (name.empty() || PlainName(name) != name) throw CannotRun(kUnfitName, textFile);
  const std::string wavFile = textFile.string() + ".wav";
  std::error_code absent;
  fs::remove(wavFile, absent);
  if (!CkaFile().WriteToFile(textFile.c_str(), text, true)) throw CannotRun(kNotWritten, textFile);
  const OpenShell shell;
  Silently([&] { builder_.SaveSpeech(textFile, wavFile); });
  if (!fs::exists(wavFile)) throw CannotRun(kNoSpeech, wavFile);
  made_.push_back(wavFile);
}

void SpeechFiles::Play() const {
  const OpenShell shell;
  for (const std::string& wavFile : made_)
    RunShellCommand("aplay " + wavFile);
}

std::string PlainName(std::string name) {
  std::replace_if(
      name.begin(), name.end(), [](char c) { return !IsPlain(c); }, '_');
  return name;
}

}  // namespace tools
