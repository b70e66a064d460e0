#include "kaShell.h"

#include <atomic>
#include <cstdlib>

namespace {

int RunBySystem(const std::string& command) {
  return std::system(command.c_str());
}

std::atomic<kaShellRunner> gRunner = RunBySystem;

}  // namespace

int RunShellCommand(const std::string& command) {
  return gRunner.load()(command);
}

kaShellRunner SetShellRunner(kaShellRunner runner) {
  return gRunner.exchange(runner);
}
