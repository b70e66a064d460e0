#ifndef KA_TESTS_SUPPORT_RECORDING_SHELL_H
#define KA_TESTS_SUPPORT_RECORDING_SHELL_H

#include <functional>
#include <string>
#include <vector>

#include "kaShell.h"

namespace support {

/// Replaces the shell while it lives: command lines are recorded in their order and nothing is run.
/// One at a time. Safe to use from several threads.
class RecordingShell {
 public:
  RecordingShell();
  ~RecordingShell();
  RecordingShell(const RecordingShell&) = delete;
  RecordingShell& operator=(const RecordingShell&) = delete;

  /// The command lines so far.
  std::vector<std::string> Commands() const;
  void Clear();
  /// `action` is called with each command line after it was recorded, on the calling thread. Set it
  /// before other threads run commands.
  void OnCommand(std::function<void(const std::string&)> action);

 private:
  kaShellRunner before_;
};

}  // namespace support

#endif
