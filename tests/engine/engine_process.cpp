#include "engine_process.h"

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <thread>

namespace engine_test {
namespace {

namespace fs = std::filesystem;

void Redirect(const std::string& path, int target) {
  const int file = ::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
  ::dup2(file, target);
  ::close(file);
}

// In the child, between fork and exec.
[[noreturn]] void Become(const Arguments& command, const Process::Settings& settings) {
  for (const auto& [name, value] : settings.environment) {
    ::setenv(name.c_str(), value.c_str(), 1);  // NOLINT(concurrency-mt-unsafe): the only thread
  }
  if (::chdir(settings.directory.c_str()) != 0) ::_exit(126);
  if (settings.largestFileBytes >= 0) {
    const auto bytes = static_cast<rlim_t>(settings.largestFileBytes);
    const rlimit limit{bytes, bytes};
    ::setrlimit(RLIMIT_FSIZE, &limit);
  }
  std::vector<char*> arguments;
  for (const std::string& argument : command)
    arguments.push_back(const_cast<char*>(argument.c_str()));
  arguments.push_back(nullptr);
  ::execvp(arguments[0], arguments.data());
  ::_exit(127);
}

struct ProcessStatus {
  char state = '?';
  pid_t parent = -1;
};

// From the line "PID (COMMAND) STATE PARENT ...".
ProcessStatus StatusOf(const fs::path& processDirectory) {
  std::ifstream file(processDirectory / "stat");
  std::stringstream content;
  content << file.rdbuf();
  const std::string line = content.str();
  const std::size_t afterCommand = line.rfind(')');
  ProcessStatus status;
  if (afterCommand == std::string::npos) return status;
  std::istringstream(line.substr(afterCommand + 1)) >> status.state >> status.parent;
  return status;
}

bool IsNumber(const std::string& text) {
  return !text.empty() && std::ranges::all_of(text, [](char c) { return c >= '0' && c <= '9'; });
}

// Plays nothing, but writes what would be heard to the file.
std::string AlsaConfiguration(const std::string& heardFile) {
  return "pcm.!default {\n  type plug\n  slave.pcm {\n    type file\n    file \"" + heardFile +
         "\"\n    format \"wav\"\n    truncate true\n    slave.pcm { type null }\n  }\n}\n";
}

}  // namespace

std::string EnginePath() {
  return KA_ENGINE_PATH;
}

std::string AdapterTemplatePath() {
  return KA_ADAPTER_TEMPLATE_PATH;
}

bool Eventually(const std::function<bool()>& condition) {
  const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(30);
  while (!condition()) {
    if (std::chrono::steady_clock::now() > end) return false;
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
  return true;
}

Process::Process(const Arguments& command, const Settings& settings) {
  const std::string out = output_.Sub("out");
  const std::string err = output_.Sub("err");
  id_ = ::fork();
  if (id_ < 0) throw std::runtime_error("fork");
  if (id_ > 0) return;
  Redirect(out, STDOUT_FILENO);
  Redirect(err, STDERR_FILENO);
  Become(command, settings);
}

Process::~Process() {
  if (id_ < 0) return;
  ::kill(id_, SIGKILL);
  ::waitpid(id_, nullptr, 0);
}

void Process::Signal(int signalNumber) const {
  ::kill(id_, signalNumber);
}

Result Process::Wait() {
  int status = 0;
  if (::waitpid(id_, &status, 0) != id_) throw std::runtime_error("waitpid");
  id_ = -1;
  return {WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status),
          support::ReadFile(output_.Sub("out")), support::ReadFile(output_.Sub("err"))};
}

std::vector<pid_t> ChildrenOf(pid_t process) {
  std::vector<pid_t> children;
  for (const fs::directory_entry& entry : fs::directory_iterator("/proc")) {
    const std::string name = entry.path().filename();
    if (IsNumber(name) && StatusOf(entry.path()).parent == process)
      children.push_back(std::stoi(name));
  }
  return children;
}

bool IsRunning(pid_t process) {
  const char state = StatusOf("/proc/" + std::to_string(process)).state;
  return state != '?' && state != 'Z' && state != 'X';
}

EngineTest::EngineTest() {
  settings_.environment["ALSA_CONFIG_PATH"] =
      dir_.Write("asound.conf", AlsaConfiguration(HeardFile()));
  settings_.directory = dir_.Path();
}

void EngineTest::UseStubPlayer(const std::string& script) {
  const std::string player = dir_.Write("stubs/aplay", "#!/bin/sh\n" + script);
  ::chmod(player.c_str(), 0700);
  const char* path = ::getenv("PATH");
  settings_.environment["PATH"] = dir_.Sub("stubs") + ":" + (path == nullptr ? "" : path);
}

Result EngineTest::RunEngine(const Arguments& arguments) {
  return Process(EngineCommand(arguments), settings_).Wait();
}

Result EngineTest::RunShell(const std::string& commandLine) {
  return Process({"sh", "-c", commandLine}, settings_).Wait();
}

Arguments EngineTest::EngineCommand(const Arguments& arguments) {
  Arguments command{EnginePath()};
  command.insert(command.end(), arguments.begin(), arguments.end());
  return command;
}

std::vector<std::string> EngineTest::FilesIn(const std::string& directory) {
  std::vector<std::string> names;
  for (const fs::directory_entry& entry : fs::directory_iterator(directory)) {
    names.push_back(entry.path().filename());
  }
  std::ranges::sort(names);
  return names;
}

}  // namespace engine_test
