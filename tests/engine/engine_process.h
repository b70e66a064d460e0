#ifndef KA_TESTS_ENGINE_ENGINE_PROCESS_H
#define KA_TESTS_ENGINE_ENGINE_PROCESS_H

#include <gtest/gtest.h>
#include <sys/types.h>

#include <functional>
#include <map>
#include <string>
#include <vector>

#include "support/temp_dir.h"

namespace engine_test {

using Arguments = std::vector<std::string>;

std::string EnginePath();
std::string AdapterTemplatePath();

/// Polls until the condition holds, for at most 30 s. False if it never did.
bool Eventually(const std::function<bool()>& condition);

/// How a process ended and what it wrote.
struct Result {
  int status = -1;  ///< as a shell gives it: the exit status, or 128 and the signal's number
  std::string out;
  std::string err;
};

/// A process of a test, killed at the end if it still runs.
class Process {
 public:
  struct Settings {
    std::map<std::string, std::string> environment;  ///< beside this process's own
    std::string directory = ".";
    long largestFileBytes = -1;  ///< limit on what it may write to one file; -1 is none
  };

  Process(const Arguments& command, const Settings& settings);
  ~Process();
  Process(const Process&) = delete;
  Process& operator=(const Process&) = delete;

  pid_t Id() const { return id_; }
  void Signal(int signalNumber) const;
  /// Waits for the end.
  Result Wait();

 private:
  support::TempDir output_;
  pid_t id_ = -1;
};

/// The ids of a process's children, zombies included.
std::vector<pid_t> ChildrenOf(pid_t process);

/// False for a process that does not exist or is only a zombie.
bool IsRunning(pid_t process);

/// Runs the engine in a world of its own: the real aplay plays into HeardFile(), or a stub stands
/// first in PATH.
class EngineTest : public testing::Test {
 protected:
  EngineTest();

  /// Puts a shell script named aplay first in PATH.
  void UseStubPlayer(const std::string& script);

  /// Calls the engine with these arguments and waits for its end.
  Result RunEngine(const Arguments& arguments);
  /// Runs a command line as the server does, which calls system().
  Result RunShell(const std::string& commandLine);
  /// The command of `RunEngine`, for a test that does something meanwhile.
  static Arguments EngineCommand(const Arguments& arguments);

  /// What the player plays, once it has ended.
  std::string HeardFile() const { return dir_.Sub("heard.wav"); }
  /// Names of the files in a directory, hidden ones included.
  static std::vector<std::string> FilesIn(const std::string& directory);

  support::TempDir dir_;
  Process::Settings settings_;
};

}  // namespace engine_test

#endif
