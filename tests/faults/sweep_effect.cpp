#include "sweep_effect.h"

#include <cerrno>

#include "server/server_fixture.h"

namespace faults {

namespace {

bool Holds(const std::string& line, const char* text) {
  return line.find(text) != std::string::npos;
}

std::string ReportOf(unsigned port, const std::string& text) {
  return servertest::PortReport(port, text);
}

/// A port that hands on an empty message: for the data port that is an unusable block.
void AddEmptyMessage(Effect& effect, Phase phase) {
  effect.ChangesOutput = true;
  if (phase == Phase::kData) effect.Reports.push_back(kUnusableBlock);
}

Effect FailedAccept(Phase phase, unsigned port) {
  Effect effect;
  effect.Outcome = "reported, client served by the next pass";
  effect.Reports = FailedAcceptReports(port);
  AddEmptyMessage(effect, phase);
  return effect;
}

Effect FailedRead(Phase phase, unsigned port) {
  Effect effect;
  effect.Outcome = "reported, message lost, client answered";
  effect.Reports = {ReportOf(port, "ERROR reading from socket ")};
  effect.LeavesProgramsOut = true;
  AddEmptyMessage(effect, phase);
  return effect;
}

Effect FailedSend(unsigned port) {
  Effect effect;
  effect.Outcome = "reported, client without answer";
  effect.Reports = {ReportOf(port, "ERROR answering client ")};
  effect.LosesAnswer = true;
  return effect;
}

/// The next block misses a backup file that could not be written.
Effect BackupNotWritten(const Trace& trace, std::size_t hit) {
  const std::string& line = trace.Lines()[hit];
  const std::size_t begin = line.find("/run/store/");
  const std::string file = line.substr(begin, line.find('"', begin) - begin + 1);
  Effect effect;
  if (trace.CountBefore(hit, file, "O_CREAT") > 0) return effect;
  effect.Outcome = "passed over, next block finds no backup";
  effect.Reports = {"Backup-File nicht vorhanden"};
  effect.MayRepeat = true;
  return effect;
}

/// The deletion of the speech files does not meet the marker; in an empty directory it meets
/// nothing, and says so.
Effect RotationWithoutMarker(const Trace& trace, std::size_t hit) {
  Effect effect;
  effect.Outcome = "rotation without its marker";
  if (trace.CountBefore(hit, "/saveblock", "O_CREAT") > 0) return effect;
  const std::string& line = trace.Lines()[hit];
  const std::size_t begin = line.find('"') + 1;
  const std::string directory = line.substr(begin, line.find("/saveblock") - begin);
  effect.Reports = {"/usr/bin/find: '" + directory + "/*': No such file or directory"};
  return effect;
}

Effect FailedOpen(const Trace& trace, std::size_t hit) {
  const std::string& line = trace.Lines()[hit];
  Effect effect;
  if (!Holds(line, "O_CREAT")) {
    effect.Outcome = "backup taken for empty";
  } else if (Holds(line, "/run/store/")) {
    effect = BackupNotWritten(trace, hit);
  } else if (Holds(line, "/saveblock")) {
    effect = RotationWithoutMarker(trace, hit);
  } else {
    effect.Outcome = "playback without its marker";
  }
  return effect;
}

/// A marker that stays is removed with the next one of its kind.
Effect FailedUnlink(Phase phase) {
  Effect effect;
  effect.Outcome = phase == Phase::kData ? "save marker stays until the next block"
                                         : "play marker stays until the next play list";
  return effect;
}

Effect TimerNotCreated(const Error& error) {
  Effect effect;
  effect.Outcome = "reported, cache not cleared by time";
  effect.Reports = {"Error creating cache timer" + error.Text(),
                    "Error setting cache timer: Invalid argument", "Error setting timer"};
  return effect;
}

Effect TimerNotSet(const Error& error) {
  Effect effect;
  effect.Outcome = "reported, cache not cleared by time";
  effect.Reports = {"Error setting cache timer: " + error.Text(), "Error setting timer"};
  return effect;
}

/// The C library makes its thread for timers once; when that fails no timer works any more.
Effect TimerThreadNotCreated() {
  Effect effect = TimerNotCreated({"EAGAIN", EAGAIN});
  effect.Outcome = "reported with every block until a restart, cache not cleared by time";
  effect.MayRepeat = true;
  return effect;
}

Effect CommandNotRun() {
  Effect effect;
  effect.Outcome = "command left out";
  effect.LeavesProgramsOut = true;
  return effect;
}

/// The smallest request for memory, the last that is tried for one, fails: so does the message.
Effect OutOfMemory(unsigned port) {
  Effect effect;
  effect.Outcome = "reported, message lost, client answered";
  effect.Reports = {ReportOf(port, "ERROR processing message: std::bad_alloc")};
  effect.MayRepeat = true;
  effect.LeavesProgramsOut = true;
  effect.ChangesOutput = true;
  return effect;
}

bool IsLastResort(const std::string& line) {
  return Holds(line, "mmap(NULL, 4096, PROT_READ|PROT_WRITE, MAP_PRIVATE|MAP_ANONYMOUS, -1");
}

bool IsThread(const std::string& line) {
  return Holds(line, "CLONE_THREAD") || (Holds(line, "PROT_NONE") && Holds(line, "MAP_STACK"));
}

/// A shell is started on a stack of its own.
bool IsShell(const std::string& line) {
  return Holds(line, "CLONE_VFORK") || (Holds(line, "PROT_READ") && Holds(line, "MAP_STACK"));
}

/// The C library falls back to the older call.
bool IsMissingCall(const Injection& injection) {
  return injection.Error.Number == ENOSYS;
}

}  // namespace

void Effect::Add(const Effect& other) {
  if (Outcome == "passed over") {
    Outcome = other.Outcome;
  } else if (other.Outcome != "passed over" && Outcome.find(other.Outcome) == std::string::npos) {
    Outcome += "; " + other.Outcome;
  }
  Reports.insert(Reports.end(), other.Reports.begin(), other.Reports.end());
  MayRepeat = MayRepeat || other.MayRepeat;
  LosesAnswer = LosesAnswer || other.LosesAnswer;
  LeavesProgramsOut = LeavesProgramsOut || other.LeavesProgramsOut;
  ChangesOutput = ChangesOutput || other.ChangesOutput;
}

std::vector<std::string> FailedAcceptReports(unsigned port) {
  return {ReportOf(port, "ERROR on accept"), ReportOf(port, "ERROR reading from socket "),
          ReportOf(port, "ERROR answering client ")};
}

Effect EffectAtWork(const Trace& trace, std::size_t hit, const Injection& injection, Phase phase,
                    unsigned port) {
  const std::string& line = trace.Lines()[hit];
  const std::string& call = injection.Call;
  const bool interrupted = injection.Error.Number == EINTR;
  if (call == "accept4") return FailedAccept(phase, port);
  if (interrupted) return {};
  if (call == "read" && Holds(line, "<socket:")) return FailedRead(phase, port);
  if (call == "sendto") return FailedSend(port);
  if (call == "openat") return FailedOpen(trace, hit);
  if (call == "unlink") return FailedUnlink(phase);
  if (call == "timer_create") return TimerNotCreated(injection.Error);
  if (call == "timer_settime") return TimerNotSet(injection.Error);
  if (CostsAThread(line, injection)) return TimerThreadNotCreated();
  if (IsShell(line) && !IsMissingCall(injection)) return CommandNotRun();
  if (IsLastResort(line)) return OutOfMemory(port);
  return {};
}

bool CostsAThread(const std::string& line, const Injection& injection) {
  return IsThread(line) && !IsMissingCall(injection);
}

ListenerEffect EffectOnListeners(const Injection& injection) {
  const std::string& call = injection.Call;
  const bool first = injection.Nth == 1;
  ListenerEffect effect;
  effect.Outcome = "passed over";
  if (call == "socket" && first) {
    effect.Outcome = "reported, listeners without their ports";
    effect.SetUpReports = {"ERROR opening socket ", "setsockopt(SO_REUSEADDR) failed ",
                           "setsockopt(SO_REUSEPORT) failed ", "ERROR on binding"};
    effect.FailsToAccept = true;
    effect.Serves = false;
  } else if (call == "bind" && first) {
    effect.Outcome = "reported, listeners without their ports";
    effect.SetUpReports = {"ERROR on binding"};
    effect.Serves = false;
  } else if (call == "setsockopt" && injection.Nth <= 2) {
    effect.Outcome = "reported, ports served";
    if (first) effect.SetUpReports.push_back("setsockopt(SO_REUSEADDR) failed ");
    if (!first || injection.Lasting) {
      effect.SetUpReports.push_back("setsockopt(SO_REUSEPORT) failed ");
    }
  } else if (call == "listen" && first) {
    effect.FailsToAccept = true;
    effect.Serves = !injection.Lasting;
    effect.Outcome = effect.Serves ? "reported, ports served by the next pass"
                                   : "reported, listeners without their ports";
  }
  return effect;
}

namespace {

/// The number of the thread whose creation the line `hit` belongs to: 1 for the first listener.
int ThreadNumber(const Trace& trace, std::size_t hit, const Injection& injection) {
  const char* mark = injection.Call == "clone3" ? "CLONE_THREAD" : "MAP_STACK";
  return static_cast<int>(trace.CountBefore(hit, mark, "")) + 1;
}

/// Whether the line is the first of its kind for a file: the first opening, or the read behind it.
bool IsFirstUse(const Trace& trace, std::size_t hit, const std::string& file) {
  return trace.CountBefore(hit, file, "") == 0;
}

void AddHit(StartEffect& effect, const Trace& trace, std::size_t hit, const Injection& injection) {
  const std::string& line = trace.Lines()[hit];
  if (trace.CountBefore(hit, kFirstCallOfMain, "") == 0) {
    effect.Outcome = "while it is loaded";
    effect.MayEnd = true;
  } else if (CostsAThread(line, injection)) {
    effect.Outcome = "listener absent, the others serve";
    effect.Absent.insert(ThreadNumber(trace, hit, injection));
  } else if (Holds(line, "kaTtsServer.kacfg") && IsFirstUse(trace, hit, "kaTtsServer.kacfg")) {
    effect.Outcome = "empty configuration, no ports";
    effect.NoPorts = true;
  } else if (Holds(line, "station.xml") && (injection.Call == "read" || injection.Lasting)) {
    effect.Outcome = "no announcement document, no ports";
    effect.NoPorts = true;
  }
}

}  // namespace

StartEffect EffectAtStart(const Trace& trace, const Injection& injection) {
  StartEffect effect;
  for (const std::size_t hit : trace.Hits())
    AddHit(effect, trace, hit, injection);
  return effect;
}

}  // namespace faults
