#include "recording.h"

#include <fcntl.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <optional>
#include <sstream>
#include <stdexcept>

#include "support/temp_dir.h"

namespace bench {

namespace {

namespace fs = std::filesystem;

/// One line of a trace: "name(arguments) = result".
struct TracedCall {
  std::string Name;
  std::string Arguments;
  long Result = -1;
};

/// None for a line of another kind and for a call that did not return.
std::optional<TracedCall> ParseLine(const std::string& line) {
  const std::size_t open = line.find('(');
  const std::size_t close = line.rfind(") ");
  const std::size_t equals = line.rfind("= ");
  if (open == std::string::npos || close == std::string::npos || equals == std::string::npos ||
      line[equals + 2] == '?') {
    return std::nullopt;
  }
  return TracedCall{line.substr(0, open), line.substr(open + 1, close - open - 1),
                    std::atol(line.c_str() + equals + 2)};
}

std::vector<TracedCall> ReadTrace(const fs::path& path) {
  std::ifstream file(path);
  std::vector<TracedCall> calls;
  for (std::string line; std::getline(file, line);) {
    if (auto call = ParseLine(line)) calls.push_back(*call);
  }
  return calls;
}

/// The text arguments, in hexadecimal: strace writes every byte as \xNN.
std::vector<std::string> TextArguments(const std::string& arguments) {
  std::vector<std::string> texts;
  for (std::size_t at = arguments.find('"'); at != std::string::npos;) {
    const std::size_t end = arguments.find('"', at + 1);
    texts.push_back(servertest::Replaced(arguments.substr(at + 1, end - at - 1), "\\x", ""));
    at = arguments.find('"', end + 1);
  }
  return texts;
}

std::string ToHex(const std::string& text) {
  std::string hex;
  for (const char c : text) {
    char digits[3];
    std::snprintf(digits, sizeof digits, "%02x", static_cast<unsigned>(c) & 0xFF);
    hex += digits;
  }
  return hex;
}

std::string TextArgument(const TracedCall& call, std::size_t index = 0) {
  return TextArguments(call.Arguments).at(index);
}

/// From "AT_FDCWD, PATH, O_RDONLY|O_CLOEXEC, MODE".
int OpenFlags(const std::string& arguments) {
  const std::map<std::string, int> known = {
      {"O_RDONLY", O_RDONLY}, {"O_WRONLY", O_WRONLY}, {"O_RDWR", O_RDWR},      {"O_CREAT", O_CREAT},
      {"O_TRUNC", O_TRUNC},   {"O_APPEND", O_APPEND}, {"O_CLOEXEC", O_CLOEXEC}};
  const std::size_t begin = arguments.find("O_");
  std::istringstream words(arguments.substr(begin, arguments.find(',', begin) - begin));
  int flags = 0;
  for (std::string word; std::getline(words, word, '|');)
    flags |= known.at(word);
  return flags;
}

std::string FirstNumber(const std::string& arguments) {
  return arguments.substr(0, arguments.find(','));
}

std::string LastNumber(const std::string& arguments) {
  return arguments.substr(arguments.rfind(' ') + 1);
}

bool IsOneOf(const std::string& name, const std::vector<std::string>& names) {
  return std::find(names.begin(), names.end(), name) != names.end();
}

/// What only serves the server's memory, its threads and what `system` does by itself.
bool IsInternal(const std::string& name) {
  return IsOneOf(name, {"mmap", "munmap", "mprotect", "madvise", "brk", "futex", "rt_sigaction",
                        "rt_sigprocmask", "wait4", "clock_nanosleep", "gettid", "getpid"});
}

/// Translates the calls between two accepts.
class Translator {
 public:
  explicit Translator(fs::path prefix) : prefix_(std::move(prefix)) {}

  std::string Translate(const std::vector<TracedCall>& calls, const std::string& connection) {
    std::string script = "message\n";
    for (const TracedCall& call : calls) {
      if (IsInternal(call.Name) || IsOfConnection(call, connection)) continue;
      script += Line(call) + "\n";
    }
    return script;
  }

 private:
  static bool IsOfConnection(const TracedCall& call, const std::string& connection) {
    if (IsOneOf(call.Name,
                {"listen", "poll", "setsockopt", "getsockopt", "ioctl", "sendto", "recvfrom"})) {
      return true;
    }
    return IsOneOf(call.Name, {"read", "close"}) && FirstNumber(call.Arguments) == connection;
  }

  std::string Line(const TracedCall& call) const {
    const std::string& arguments = call.Arguments;
    if (IsOneOf(call.Name, {"newfstatat", "stat"})) return "stat " + TextArgument(call);
    if (call.Name == "openat") {
      // A file that is not there is looked for as well.
      const long slot = call.Result < 0 ? 1023 : call.Result;
      return "open " + std::to_string(slot) + " " + TextArgument(call) + " " +
             std::to_string(OpenFlags(arguments));
    }
    if (call.Name == "read") return "read " + FirstNumber(arguments) + " " + LastNumber(arguments);
    if (call.Name == "write") return "write " + FirstNumber(arguments) + " " + TextArgument(call);
    if (call.Name == "close") return "close " + arguments;
    if (call.Name == "unlink") return "unlink " + TextArgument(call);
    if (call.Name == "timer_settime") return "settime 1800";
    if (IsOneOf(call.Name, {"clone3", "clone", "vfork"})) return "system " + Command(call.Result);
    throw std::runtime_error("the floor knows no call like " + call.Name + "(" + arguments + ")");
  }

  /// The command line of a shell that the server started.
  std::string Command(long process) const {
    const fs::path trace = prefix_.string() + "." + std::to_string(process);
    for (const TracedCall& call : ReadTrace(trace)) {
      // execve(PATH, ["sh", "-c", COMMAND], ...), with "--" in front of it in newer libraries.
      if (call.Name == "execve") {
        const std::vector<std::string> texts = TextArguments(call.Arguments);
        const auto end = std::find(texts.begin(), texts.end(), "2d2d");
        return end == texts.end() ? texts.at(3) : *(end + 1);
      }
    }
    throw std::runtime_error("no command in " + trace.string());
  }

  fs::path prefix_;
};

/// Translates what the thread of a port did after its first `skip` connections.
std::string TranslateThread(const std::vector<TracedCall>& calls, std::size_t skip,
                            const fs::path& prefix) {
  Translator translator(prefix);
  std::string script;
  std::size_t connections = 0;
  for (auto call = calls.begin(); call != calls.end(); ++call) {
    if (call->Name != "accept4" || call->Result < 0 || connections++ < skip) continue;
    const auto end = std::find_if(call + 1, calls.end(),
                                  [](const TracedCall& next) { return next.Name == "accept4"; });
    script += translator.Translate({call + 1, end}, std::to_string(call->Result));
  }
  return script;
}

std::size_t ConnectionsOf(const std::vector<TracedCall>& calls) {
  return static_cast<std::size_t>(std::count_if(calls.begin(), calls.end(), [](const auto& call) {
    return call.Name == "accept4" && call.Result >= 0;
  }));
}

/// The thread that served the messages: the one with the most connections.
std::vector<TracedCall> ListenerCalls(const fs::path& directory) {
  std::vector<TracedCall> best;
  for (const fs::directory_entry& entry : fs::directory_iterator(directory)) {
    std::vector<TracedCall> calls = ReadTrace(entry.path());
    if (ConnectionsOf(calls) > ConnectionsOf(best)) best = std::move(calls);
  }
  return best;
}

}  // namespace

std::string RecordMessages(const BenchStation& station, unsigned port,
                           const std::vector<std::string>& messages, std::size_t rows) {
  const support::TempDir traces;
  const std::string prefix = traces.Sub("trace");
  const servertest::Launch launch =
      station.LaunchOf("/usr/bin/strace", {"-ff", "-qq", "-xx", "-s", "100000", "-e", "signal=none",
                                           "-o", prefix, station.Files().Executable()});
  {
    const auto server = station.Start(launch);
    station.FillStore(rows);
    for (int pass = 0; pass < 2; ++pass) {
      for (const std::string& message : messages)
        Tell(port, message);
    }
    // A command of its own, so that the trace is written to its end.
    Tell(station.Files().CommandPort(), "!terminate");
    if (!server->AwaitEnd()) throw std::runtime_error("the traced server does not end");
  }
  const std::string script = TranslateThread(ListenerCalls(traces.Path()), messages.size(), prefix);
  const std::string directory = station.Files().Dir() + "/run/";
  std::string path = station.Files().Beside("script");
  std::ofstream(path) << servertest::Replaced(script, ToHex(directory),
                                              ToHex(station.FloorPath(directory)));
  return path;
}

}  // namespace bench
