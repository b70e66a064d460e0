#ifndef KA_ENGINE_FAILURE_H
#define KA_ENGINE_FAILURE_H

// How the program fails: an exception that carries the exit status and one line for stderr.

#include <stdexcept>
#include <string>

namespace engine {

/// The program's exit statuses. Callers and the README rely on the numbers.
enum ExitStatus : int {
  kDone = 0,
  kFailed = 1,
  kWrongUsage = 2,
  kPlayerStopped = 3,
  kEndedBySignal = 128,  // plus the signal's number
};

/// The announcement cannot be made; main reports what() and exits with ExitStatus().
class Failure : public std::runtime_error {
 public:
  explicit Failure(const std::string& message, int exitStatus = kFailed)
      : std::runtime_error(message), exitStatus_(exitStatus) {}

  int ExitStatus() const noexcept { return exitStatus_; }

 private:
  int exitStatus_;
};

/// "message: what the operating system says about `errorNumber`".
std::string WithSystemError(const std::string& message, int errorNumber);

}  // namespace engine

#endif
