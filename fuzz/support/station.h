#ifndef KA_FUZZ_STATION_H
#define KA_FUZZ_STATION_H

#include <string>
#include <vector>

#include "kaTTSServer.h"

namespace fuzz {

/// The server that the targets work on: never started, without listeners and cache manager. AppRef
/// is null, so that no prepared speech is kept. It lives until the process ends.
CkaTTSServer& TheServer();

/// A directory of the process's own, absolute, without trailing "/", removed at its end. It has
/// empty directories "store" and "play".
const std::string& TheDirectory();

/// Writes a file below TheDirectory(). \return its path
std::string WriteFile(const std::string& name, const std::string& content);

/// Makes a directory the server's root, for good.
void UseAsRoot(const std::string& path);

/// Command lines that the server has run since the last Clear; nothing is executed.
class CommandRecord {
 public:
  using Action = void (*)(std::size_t count);

  /// \param action is called after each command with the number of commands so far
  explicit CommandRecord(Action action = nullptr);
  ~CommandRecord();
  CommandRecord(const CommandRecord&) = delete;
  CommandRecord& operator=(const CommandRecord&) = delete;

  const std::vector<std::string>& Commands() const { return commands_; }
  void Clear() { commands_.clear(); }

 private:
  static int Record(const std::string& command);

  std::vector<std::string> commands_;
  Action action_;
};

}  // namespace fuzz

#endif
