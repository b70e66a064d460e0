#include "server_process.h"

#include <fcntl.h>
#include <grp.h>
#include <sched.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <system_error>

#include "support/wait_until.h"

namespace servertest {

namespace {

std::vector<char*> Pointers(const std::vector<std::string>& texts) {
  std::vector<char*> pointers;
  pointers.reserve(texts.size() + 1);
  for (const std::string& text : texts)
    pointers.push_back(const_cast<char*>(text.c_str()));
  pointers.push_back(nullptr);
  return pointers;
}

// The functions from here to Become run between fork and exec.

bool DropPrivileges(uid_t user) {
  const rlimit fewProcesses{500, 500};
  setrlimit(RLIMIT_NPROC, &fewProcesses);
  return setgroups(0, nullptr) == 0 && setgid(user) == 0 && setuid(user) == 0;
}

bool LeaveNetwork() {
  return unshare(geteuid() == 0 ? CLONE_NEWNET : CLONE_NEWNET | CLONE_NEWUSER) == 0;
}

bool SetStandardDescriptors(const Launch& launch) {
  if (launch.Out < 0) return close_range(0, ~0U, 0) == 0;
  const int input = open("/dev/null", O_RDONLY | O_CLOEXEC);
  return dup2(input, 0) == 0 && dup2(launch.Out, 1) == 1 && dup2(launch.Err, 2) == 2 &&
         close_range(3, ~0U, 0) == 0;
}

void Become(const Launch& launch, char* const* arguments, char* const* environment) {
  const rlimit noCoreFile{0, 0};
  setpgid(0, 0);
  setrlimit(RLIMIT_CORE, &noCoreFile);
  std::signal(SIGPIPE, SIG_DFL);
  const bool ready = chdir(launch.WorkingDirectory.c_str()) == 0 &&
                     (!launch.OwnNetwork || LeaveNetwork()) && SetStandardDescriptors(launch) &&
                     (launch.User == 0 || DropPrivileges(launch.User));
  prctl(PR_SET_PDEATHSIG, SIGKILL);  // after the change of user, which would clear it
  if (ready) execve(launch.Executable.c_str(), arguments, environment);
  _exit(ServerProcess::kNotStarted);
}

pid_t Start(const Launch& launch) {
  std::vector<std::string> line{launch.Executable};
  line.insert(line.end(), launch.Arguments.begin(), launch.Arguments.end());
  const std::vector<char*> arguments = Pointers(line);
  const std::vector<char*> environment = Pointers(launch.Environment);
  const pid_t pid = fork();
  if (pid < 0) throw std::system_error(errno, std::generic_category(), "fork");
  if (pid == 0) Become(launch, arguments.data(), environment.data());
  setpgid(pid, pid);
  return pid;
}

}  // namespace

ServerProcess::ServerProcess(const Launch& launch) : pid_(Start(launch)) {}

ServerProcess::~ServerProcess() {
  kill(-pid_, SIGKILL);
  AwaitEnd();
}

bool ServerProcess::IsRunning() {
  int status = 0;
  if (!status_ && waitpid(pid_, &status, WNOHANG) == pid_) status_ = status;
  return !status_;
}

std::optional<int> ServerProcess::AwaitEnd() {
  support::WaitUntil([this] { return !IsRunning(); });
  return status_;
}

std::string Describe(std::optional<int> status) {
  if (!status) return "running";
  if (WIFSIGNALED(*status)) return "signal " + std::to_string(WTERMSIG(*status));
  return "exit " + std::to_string(WEXITSTATUS(*status));
}

}  // namespace servertest
