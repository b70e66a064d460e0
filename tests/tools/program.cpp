#include "program.h"

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>

#include "support/temp_dir.h"

namespace toolstest {

namespace {

void Redirect(const std::string& file, int descriptor) {
  const int opened = open(file.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
  if (opened < 0 || dup2(opened, descriptor) < 0) _exit(126);
  close(opened);
}

// NOLINTBEGIN(concurrency-mt-unsafe): a child process has one thread
[[noreturn]] void Execute(const std::string& program, const std::vector<std::string>& arguments,
                          const std::vector<std::pair<std::string, std::string>>& environment) {
  unsetenv("NO_COLOR");
  setenv("LC_ALL", "C.UTF-8", 1);
  for (const auto& [name, value] : environment)
    setenv(name.c_str(), value.c_str(), 1);
  std::vector<char*> argv = {const_cast<char*>(program.c_str())};
  for (const std::string& argument : arguments)
    argv.push_back(const_cast<char*>(argument.c_str()));
  argv.push_back(nullptr);
  execv(program.c_str(), argv.data());
  _exit(127);
}
// NOLINTEND(concurrency-mt-unsafe)

}  // namespace

Ended RunToolAt(const std::string& program, const std::vector<std::string>& arguments,
                const std::vector<std::pair<std::string, std::string>>& environment) {
  const support::TempDir output;
  const pid_t child = fork();
  if (child == 0) {
    Redirect(output.Sub("out"), STDOUT_FILENO);
    Redirect(output.Sub("err"), STDERR_FILENO);
    Execute(program, arguments, environment);
  }
  int status = 0;
  Ended ended;
  if (child > 0 && waitpid(child, &status, 0) == child && WIFEXITED(status)) {
    ended.Status = WEXITSTATUS(status);
  }
  ended.Out = support::ReadFile(output.Sub("out"));
  ended.Err = support::ReadFile(output.Sub("err"));
  return ended;
}

Ended RunTool(const std::vector<std::string>& arguments,
              const std::vector<std::pair<std::string, std::string>>& environment) {
  return RunToolAt(ToolPath(), arguments, environment);
}

std::string ToolPath() {
  return KA_TOOLS_PATH;
}

}  // namespace toolstest
