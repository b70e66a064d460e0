#include "strace.h"

#include <fcntl.h>
#include <sys/wait.h>

#include <algorithm>
#include <csignal>
#include <filesystem>
#include <sstream>
#include <stdexcept>
#include <system_error>

#include "support/temp_dir.h"
#include "support/wait_until.h"

namespace faults {

namespace {

constexpr const char* kStrace = "/usr/bin/strace";

kaDescriptor OpenForWriting(const std::string& path) {
  return kaDescriptor(open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0644));
}

std::vector<std::string> Options(const Injection& injection, Follow follow,
                                 const std::string& log) {
  std::vector<std::string> options{
      "-y",
      "-s",
      "200",
      "-o",
      log,
      "-e",
      "trace=" + injection.Call + ",readlink",
      "-e",
      "inject=" + injection.Call + ":error=" + injection.Error.Name + ":when=" + injection.When()};
  if (!injection.Path.empty()) options.insert(options.end(), {"-P", injection.Path});
  if (follow == Follow::kAllThreads) options.insert(options.begin(), "-f");
  return options;
}

bool SanitizersAreBuiltIn() {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
  return true;
#else
  return false;
#endif
}

bool StraceWorks() {
  const kaDescriptor nowhere = OpenForWriting("/dev/null");
  servertest::Launch launch;
  launch.Executable = kStrace;
  launch.Arguments = {"-o", "/dev/null", "-e", "inject=chdir:error=EPERM:when=1", "/bin/true"};
  launch.WorkingDirectory = "/";
  launch.Out = launch.Err = nowhere.Get();
  return servertest::Describe(servertest::ServerProcess(launch).AwaitEnd()) == "exit 0";
}

std::string TaskFile(pid_t pid, pid_t tid, const std::string& name) {
  return support::ReadFile("/proc/" + std::to_string(pid) + "/task/" + std::to_string(tid) + "/" +
                           name);
}

bool Sleeps(pid_t pid, pid_t tid) {
  return TaskFile(pid, tid, "status").find("\nState:\tS") != std::string::npos;
}

}  // namespace

std::string Error::Text() const {
  return std::error_code(Number, std::generic_category()).message();
}

std::string Injection::When() const {
  return std::to_string(Nth) + (Lasting ? "+" : "");
}

std::optional<std::string> WhyNotPossible() {
  if (SanitizersAreBuiltIn()) return "a sanitizer's own system calls stand between";
  if (!std::filesystem::exists(kStrace)) return "strace is not installed";
  if (!StraceWorks()) return "this machine does not allow to trace processes";
  return std::nullopt;
}

void InjectFromStart(servertest::Launch& launch, const Injection& injection, Follow follow,
                     const std::string& log) {
  // With -D it is strace that becomes the child, and the launched process the server.
  std::vector<std::string> line{"-D", "--quiet=all"};
  const std::vector<std::string> options = Options(injection, follow, log);
  line.insert(line.end(), options.begin(), options.end());
  line.push_back(launch.Executable);
  launch.Executable = kStrace;
  launch.Arguments = line;
}

Tracer::Tracer(const Injection& injection, Follow follow, pid_t pid, pid_t tid,
               const std::string& log)
    : log_(log),
      pid_(pid),
      tid_(tid),
      messages_(OpenForWriting(log + ".messages")),
      strace_(Plan(injection, follow, follow == Follow::kAllThreads ? pid : tid)) {
  // The message comes after the thread was interrupted; when it sleeps again, it is followed.
  const bool attached = support::WaitUntil([&] {
    return support::ReadFile(log_ + ".messages").find(" attached") != std::string::npos &&
           Sleeps(pid, tid);
  });
  if (!attached) throw std::runtime_error("strace: " + support::ReadFile(log_ + ".messages"));
}

Tracer::~Tracer() {
  kill(strace_.Pid(), SIGTERM);
  strace_.AwaitEnd();
}

bool Tracer::AwaitSleepIn(long call) const {
  return support::WaitUntil([&] {
    return Sleeps(pid_, tid_) &&
           TaskFile(pid_, tid_, "syscall").starts_with(std::to_string(call) + " ");
  });
}

servertest::Launch Tracer::Plan(const Injection& injection, Follow follow, pid_t tid) const {
  servertest::Launch launch;
  launch.Executable = kStrace;
  launch.Arguments = Options(injection, follow, log_);
  launch.Arguments.insert(launch.Arguments.end(), {"-p", std::to_string(tid)});
  launch.WorkingDirectory = "/";
  launch.Out = launch.Err = messages_.Get();
  return launch;
}

Trace::Trace(const std::string& log) {
  std::istringstream rows(support::ReadFile(log));
  for (std::string row; std::getline(rows, row);) {
    if (row.ends_with("(INJECTED)")) hits_.push_back(lines_.size());
    lines_.push_back(row);
  }
}

std::size_t Trace::CountBefore(std::size_t end, const std::string& one,
                               const std::string& two) const {
  const auto last = lines_.begin() + static_cast<std::ptrdiff_t>(end);
  return static_cast<std::size_t>(std::count_if(lines_.begin(), last, [&](const std::string& line) {
    return line.find(one) != std::string::npos && line.find(two) != std::string::npos;
  }));
}

std::vector<pid_t> Threads(pid_t pid) {
  std::vector<pid_t> threads;
  std::error_code gone;
  for (std::filesystem::directory_iterator task("/proc/" + std::to_string(pid) + "/task", gone),
       end;
       !gone && task != end; task.increment(gone)) {
    threads.push_back(std::stoi(task->path().filename().string()));
  }
  // Numbers may wrap; the kernel lists the threads in the order of their creation.
  return threads;
}

}  // namespace faults
