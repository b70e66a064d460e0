#ifndef KA_TESTS_FAULTS_STRACE_H
#define KA_TESTS_FAULTS_STRACE_H

#include <sys/types.h>

#include <optional>
#include <string>
#include <vector>

#include "kaDescriptor.h"
#include "server/server_process.h"

/// \file
/// System calls of a server that fail on demand, by strace's fault injection.
///
/// strace counts the calls of each thread for itself. Without `-f` it follows the one thread that
/// it started or was attached to and none of the programs that the thread starts, so that "the nth
/// call" is one call of the server and of nobody else.

namespace faults {

/// An error number with its name.
struct Error {
  const char* Name;
  int Number;

  /// The system's text for it.
  std::string Text() const;
};

/// The nth call of a kind that fails, or all from the nth on.
struct Injection {
  std::string Call;
  faults::Error Error;
  int Nth = 1;
  bool Lasting = false;
  std::string Path = {};  ///< only calls for this file count; "" for all

  /// "3", "3+"
  std::string When() const;
};

/// Which threads of the server are followed.
enum class Follow {
  kOneThread,
  kAllThreads,  ///< each counted for itself; the programs that they start are hit, too
};

/// Why faults cannot be injected here; none when they can.
std::optional<std::string> WhyNotPossible();

/// Makes a launch one under strace. The launched process itself becomes the server.
void InjectFromStart(servertest::Launch& launch, const Injection& injection, Follow follow,
                     const std::string& log);

/// An injection into a running server, which is left in peace when this object is destroyed.
class Tracer {
 public:
  /// Attaches to the thread `tid` of `pid` and waits until it is followed. Throws when it cannot.
  Tracer(const Injection& injection, Follow follow, pid_t pid, pid_t tid, const std::string& log);
  ~Tracer();
  Tracer(const Tracer&) = delete;
  Tracer& operator=(const Tracer&) = delete;

  /// Waits until the thread sleeps in the system call of this number.
  /// \return whether it came to that
  bool AwaitSleepIn(long call) const;

 private:
  servertest::Launch Plan(const Injection& injection, Follow follow, pid_t tid) const;

  std::string log_;
  pid_t pid_;
  pid_t tid_;
  kaDescriptor messages_;
  servertest::ServerProcess strace_;
};

/// What strace wrote down.
class Trace {
 public:
  explicit Trace(const std::string& log);

  const std::vector<std::string>& Lines() const { return lines_; }
  /// Indices of the lines of calls that were made to fail.
  const std::vector<std::size_t>& Hits() const { return hits_; }
  /// How many lines before the line `end` hold both texts.
  std::size_t CountBefore(std::size_t end, const std::string& one, const std::string& two) const;

 private:
  std::vector<std::string> lines_;
  std::vector<std::size_t> hits_;
};

/// A system call that the server's entry point makes first of all, and nothing before it: it tells
/// where loading ends in a trace of the main thread.
constexpr const char* kFirstCallOfMain = "readlink(\"/proc/self/exe\"";

/// The threads of a process in the order of their creation, the main thread first.
std::vector<pid_t> Threads(pid_t pid);

}  // namespace faults

#endif
