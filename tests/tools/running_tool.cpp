#include "running_tool.h"

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>

#include "support/wait_until.h"

namespace toolstest {

namespace {

int CountOf(const std::string& text, const std::string& part) {
  int count = 0;
  for (std::size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1))
    ++count;
  return count;
}

}  // namespace

RunningTool::RunningTool(const std::string& command, const std::string& directory) {
  const std::string output = output_.Write("out", "");
  const std::string replaced = "exec " + command;
  child_ = fork();
  if (child_ != 0) return;
  const int file = open(output.c_str(), O_WRONLY | O_APPEND);
  if (file < 0 || dup2(file, STDOUT_FILENO) < 0 || dup2(file, STDERR_FILENO) < 0) _exit(126);
  if (chdir(directory.c_str()) != 0) _exit(126);
  execl("/bin/sh", "sh", "-c", replaced.c_str(), nullptr);
  _exit(127);
}

RunningTool::~RunningTool() {
  if (child_ > 0) Interrupt();
}

bool RunningTool::Prints(const std::string& text, int count) const {
  return support::WaitUntil([&] { return CountOf(Output(), text) >= count; });
}

int RunningTool::Interrupt() {
  kill(child_, SIGINT);
  int status = 0;
  waitpid(child_, &status, 0);
  child_ = -1;
  return WIFSIGNALED(status) ? WTERMSIG(status) : 0;
}

}  // namespace toolstest
