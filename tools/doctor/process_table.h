#ifndef KA_TOOLS_PROCESS_TABLE_H
#define KA_TOOLS_PROCESS_TABLE_H

#include <sys/types.h>

#include <ctime>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace tools {

/// A process that runs, as far as this user may look at it.
struct Process {
  pid_t Id = 0;
  pid_t Parent = 0;
  std::string Name;  ///< file name of its program, at most 15 bytes
  std::vector<std::string> Arguments;
  std::string Program;           ///< path of its program, "" if that may not be seen
  bool bProgramDeleted = false;  ///< the program's file was removed or replaced since
  unsigned long StartTicks = 0;  ///< since the machine's start

  /// Whether an argument holds `text`.
  bool Mentions(const std::string& text) const;
};

/// The user and the groups of a process.
struct Identity {
  uid_t User = 0;
  gid_t Group = 0;
  std::vector<gid_t> Groups;
};

/// The processes that run at one moment; those that have ended and wait for their parents are left
/// out.
class ProcessTable {
 public:
  static ProcessTable Read();
  explicit ProcessTable(std::vector<Process> processes);

  const std::vector<Process>& All() const { return processes_; }
  const Process* Find(pid_t id) const;
  /// Whether `id` was started by `ancestor` or by something that this started.
  bool IsBelow(pid_t id, pid_t ancestor) const;
  /// The servers that stand in the directory `root`. What one of them is just about to start is
  /// none.
  std::vector<Process> ServersOf(const std::string& root) const;

 private:
  std::vector<Process> processes_;
};

/// When a process began, by the machine's clock.
std::timespec StartOf(const Process& process);
/// Its environment; nothing if that may not be seen.
std::map<std::string, std::string> EnvironmentOf(pid_t process);
/// Its working directory, "" if that may not be seen.
std::string WorkingDirectoryOf(pid_t process);
/// Nothing if the process is gone.
std::optional<Identity> IdentityOf(pid_t process);
/// Memory that it holds at the moment, in bytes.
double ResidentBytesOf(pid_t process);

/// Becomes `identity`, if this process may; for a child that does one thing.
bool Become(const Identity& identity);
/// The answer of `question`, asked by a process with that identity; asked by this one if it may not
/// change its own.
bool AskAs(const std::optional<Identity>& identity, const std::function<bool()>& question);

}  // namespace tools

#endif
