#include "doctor/engine_commands.h"

#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <thread>

#include "check/configuration_keys.h"
#include "common/cannot_run.h"
#include "doctor/speech_state.h"
#include "kaDescriptor.h"
#include "kaFile.h"

namespace tools {

namespace {

namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;

constexpr Bilingual kNoDirectory = {"ein Verzeichnis für die Probe kann nicht angelegt werden",
                                    "a directory for the probe cannot be made"};
constexpr const char* kText = "probe0";
constexpr const char* kWork = "work";
constexpr const char* kWave = "work/probe0.wav";
constexpr const char* kOutput = "output";
constexpr const char* kSoundSettings = "asound.conf";

constexpr auto kReadableForAll = fs::perms(0644);
constexpr auto kUsableForAll = fs::perms(0755);

/// A directory that only this program's user can write into.
std::string MakeDirectory() {
  std::error_code unknown;
  const fs::path parent = fs::temp_directory_path(unknown);
  if (unknown) throw CannotRun(kNoDirectory, "TMPDIR");
  std::string name = (parent / "ka-tts-doctor.XXXXXX").string();
  if (mkdtemp(name.data()) == nullptr) throw CannotRun(kNoDirectory, parent);
  fs::permissions(name, kUsableForAll);
  return name;
}

/// Makes a directory for the engine's files. Apart from the others: the server's user must not lay
/// links there that the superuser would follow.
void MakeWorkDirectory(const std::string& path, const std::optional<Identity>& user) {
  std::error_code failed;
  fs::create_directory(path, failed);
  const bool isGiven =
      !user || geteuid() != 0 || lchown(path.c_str(), user->User, user->Group) == 0;
  if (failed || !isGiven) throw CannotRun(kNoDirectory, path);
}

void Write(const std::string& path, const std::string& content) {
  std::ofstream(path, std::ios::binary) << content;
  fs::permissions(path, kReadableForAll);
}

std::vector<char*> Pointers(const std::vector<std::string>& texts) {
  std::vector<char*> pointers;
  for (const std::string& text : texts)
    pointers.push_back(const_cast<char*>(text.c_str()));
  pointers.push_back(nullptr);
  return pointers;
}

int ExitStatus(int status) {
  constexpr int kSignalled = 128;
  return WIFEXITED(status) ? WEXITSTATUS(status) : kSignalled + WTERMSIG(status);
}

/// Waits for the end of a child. \return false if it was still running at the limit
bool AwaitEnd(pid_t child, double seconds, int& status) {
  const auto limit = Clock::now() + std::chrono::duration<double>(seconds);
  while (waitpid(child, &status, WNOHANG) == 0) {
    if (Clock::now() > limit) return false;
    std::this_thread::sleep_for(std::chrono::milliseconds(2));
  }
  return true;
}

}  // namespace

EngineCommands::EngineCommands(const Examination& examination)
    : examination_(examination), directory_(MakeDirectory()) {
  MakeWorkDirectory(Sub(kWork), examination.ServerUser());
  // ALSA's null device: whoever plays finds it and gets rid of the sound at once.
  Write(Sub(kSoundSettings), "pcm.!default { type null }\nctl.!default { type null }\n");
}

EngineCommands::~EngineCommands() {
  std::error_code ignored;
  fs::remove_all(directory_, ignored);
}

std::string EngineCommands::SaveKey() const {
  return std::string(kSaveKey) + examination_.Station().Value("engineName");
}

std::string EngineCommands::SpeakKey() const {
  return std::string(kSpeakKey) + examination_.Station().Value("engineName");
}

EngineRun EngineCommands::Save(const std::string& text) {
  std::error_code absent;
  fs::remove(Sub(kWave), absent);
  Write(Sub(kText), text);
  const std::string engine = examination_.Station().Value(SaveKey());
  return Run("cd " + CkaFile().GetParentDir(engine, false) + "; " + engine + " \"" + Sub(kText) +
             "\" " + Sub(kWave));
}

std::optional<std::string> EngineCommands::Speech() const {
  if (ContentOf(Sub(kWave)) != SpeechState::Good) return std::nullopt;
  return Read(Sub(kWave));
}

EngineRun EngineCommands::Speak(const std::string& text) {
  const auto& station = examination_.Station();
  return Run("cd " + station.Value("rootDir") + station.Value("engineName") + "; " +
             station.Value(SpeakKey()) + " \"" + text + "\"");
}

EngineRun EngineCommands::Run(const std::string& command) const {
  const auto start = Clock::now();
  const pid_t child = fork();
  if (child == 0) BecomeEngine(command);
  EngineRun run;
  int status = 0;
  if (child < 0) return {false, 127, 0, ""};
  setpgid(child, child);
  run.bTimedOut = !AwaitEnd(child, examination_.Options().TimeLimit, status);
  if (run.bTimedOut) {
    kill(-child, SIGKILL);
    waitpid(child, &status, 0);
  }
  run.Status = ExitStatus(status);
  run.Seconds = std::chrono::duration<double>(Clock::now() - start).count();
  run.LastLine = LastLine();
  return run;
}

std::vector<std::string> EngineCommands::Environment() const {
  std::map<std::string, std::string> variables = examination_.Environment();
  variables["ALSA_CONFIG_PATH"] = Sub(kSoundSettings);
  // Sound servers are out of reach as well.
  variables["PULSE_SERVER"] = "unix:" + Sub("none");
  variables["PIPEWIRE_REMOTE"] = Sub("none");
  std::vector<std::string> environment;
  for (const auto& [name, value] : variables)
    environment.push_back(name + "=" + value);
  return environment;
}

void EngineCommands::BecomeEngine(const std::string& command) const {
  constexpr int kNotStarted = 126;
  setpgid(0, 0);
  prctl(PR_SET_PDEATHSIG, SIGKILL);
  std::signal(SIGPIPE, SIG_DFL);
  const std::vector<std::string> line = {"sh", "-c", command};
  const std::vector<std::string> variables = Environment();
  const std::vector<char*> arguments = Pointers(line);
  const std::vector<char*> environment = Pointers(variables);
  const int input = open("/dev/null", O_RDONLY | O_CLOEXEC);
  const int output = open(Sub(kOutput).c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
  const auto& user = examination_.ServerUser();
  const bool isReady = dup2(input, 0) == 0 && dup2(output, 1) == 1 && dup2(output, 2) == 2 &&
                       (!user || geteuid() != 0 || Become(*user)) &&
                       chdir(examination_.WorkingDirectory().c_str()) == 0;
  if (isReady) execve("/bin/sh", arguments.data(), environment.data());
  _exit(kNotStarted);
}

std::string EngineCommands::LastLine() const {
  std::ifstream output(Sub(kOutput), std::ios::binary);
  std::string last;
  for (std::string line; std::getline(output, line);) {
    if (!line.empty()) last = line;
  }
  return last;
}

}  // namespace tools
