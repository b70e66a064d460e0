#ifndef KA_TESTS_TOOLS_RUNNING_TOOL_H
#define KA_TESTS_TOOLS_RUNNING_TOOL_H

#include <sys/types.h>

#include <string>
#include <vector>

#include "support/temp_dir.h"

namespace toolstest {

/// A shell command that goes on until it is interrupted.
class RunningTool {
 public:
  /// \param directory becomes its working directory
  RunningTool(const std::string& command, const std::string& directory);
  ~RunningTool();
  RunningTool(const RunningTool&) = delete;
  RunningTool& operator=(const RunningTool&) = delete;

  /// What it has printed so far on both streams.
  std::string Output() const { return support::ReadFile(output_.Sub("out")); }
  /// Waits until it has printed `text` `count` times; false if it does not.
  bool Prints(const std::string& text, int count = 1) const;
  /// Interrupts it as Ctrl-C does and waits for its end. \return the signal that ended it, 0 for
  /// none
  int Interrupt();

 private:
  support::TempDir output_;
  pid_t child_ = -1;
};

}  // namespace toolstest

#endif
