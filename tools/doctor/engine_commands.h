#ifndef KA_TOOLS_ENGINE_COMMANDS_H
#define KA_TOOLS_ENGINE_COMMANDS_H

#include <optional>
#include <string>

#include "doctor/examination.h"

namespace tools {

/// How a command of the engine ended.
struct EngineRun {
  bool bTimedOut = false;  ///< ended by force
  int Status = 0;          ///< exit status; 128 and the signal's number if a signal ended it
  double Seconds = 0;
  std::string LastLine;  ///< what it printed last
};

/// Runs the engine as the server does: the same command line, user, working directory and
/// environment. All files are in a temporary directory, and nothing is heard.
class EngineCommands {
 public:
  /// \param examination outlives the object
  /// \throws CannotRun if no temporary directory can be made
  explicit EngineCommands(const Examination& examination);
  ~EngineCommands();
  EngineCommands(const EngineCommands&) = delete;
  EngineCommands& operator=(const EngineCommands&) = delete;

  /// Has a text saved as speech. \return the run, with the speech file's content in Speech()
  EngineRun Save(const std::string& text);
  /// The speech file that Save left, all its bytes; nothing if it is not a good one.
  std::optional<std::string> Speech() const;
  /// Has a text spoken to a device that takes every sound and lets nothing be heard.
  EngineRun Speak(const std::string& text);

  /// The keys of the configuration under which the two commands stand.
  std::string SaveKey() const;
  std::string SpeakKey() const;

 private:
  std::string Sub(const std::string& name) const { return directory_ + "/" + name; }
  EngineRun Run(const std::string& command) const;
  std::vector<std::string> Environment() const;
  [[noreturn]] void BecomeEngine(const std::string& command) const;
  std::string LastLine() const;

  const Examination& examination_;
  std::string directory_;
};

}  // namespace tools

#endif
