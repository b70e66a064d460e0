#ifndef KA_TESTS_SERVER_SERVER_PROCESS_H
#define KA_TESTS_SERVER_SERVER_PROCESS_H

#include <sys/types.h>

#include <optional>
#include <string>
#include <vector>

namespace servertest {

/// How a process is to be started.
struct Launch {
  std::string Executable;
  std::vector<std::string> Arguments;
  std::vector<std::string> Environment;  ///< "NAME=value", and nothing else
  std::string WorkingDirectory;
  int Out = -1;  ///< descriptor that becomes its standard output; -1 starts it with 0 to 2 closed
  int Err = -1;
  uid_t User = 0;           ///< unprivileged user and group; 0 keeps the test's
  bool OwnNetwork = false;  ///< a network of its own, in which no port is taken
};

/// A running process and everything it starts: they form one process group, which does not outlive
/// this object.
class ServerProcess {
 public:
  /// Status of a process that could not be started as wished.
  static constexpr int kNotStarted = 126;

  explicit ServerProcess(const Launch& launch);
  ~ServerProcess();
  ServerProcess(const ServerProcess&) = delete;
  ServerProcess& operator=(const ServerProcess&) = delete;

  pid_t Pid() const { return pid_; }
  bool IsRunning();
  /// Waits for its end. \return the wait status, none when patience ran out
  std::optional<int> AwaitEnd();

 private:
  pid_t pid_;
  std::optional<int> status_;
};

/// "exit 0", "signal 6", or "running" for none.
std::string Describe(std::optional<int> status);

}  // namespace servertest

#endif
