#include "doctor/process_table.h"

#include <fcntl.h>
#include <grp.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <charconv>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>
#include <utility>

#include "kaDescriptor.h"

namespace tools {

namespace {

namespace fs = std::filesystem;

constexpr std::string_view kDeleted = " (deleted)";
constexpr std::string_view kServerName = "/ka-tts-server";

fs::path Entry(pid_t process, const char* name) {
  return fs::path("/proc") / std::to_string(process) / name;
}

/// What could be read of it: a process may end meanwhile.
std::string Content(const fs::path& file) {
  return ReadAll(OpenFile(file.c_str(), O_RDONLY).Get());
}

/// The parts of `text`, each of which ends with a NUL.
std::vector<std::string> Parts(const std::string& text) {
  std::vector<std::string> parts;
  std::istringstream stream(text);
  for (std::string part; std::getline(stream, part, '\0');)
    parts.push_back(part);
  return parts;
}

/// Fills in what stands in "ID (NAME) STATE PARENT ...". The name may hold blanks and parentheses.
/// \return false for a process that has ended
bool ParseState(const std::string& line, Process& process) {
  constexpr int kFieldsUpToStart = 17;
  const std::size_t open = line.find('(');
  const std::size_t close = line.rfind(')');
  if (open == std::string::npos || close == std::string::npos) return false;
  process.Name = line.substr(open + 1, close - open - 1);
  std::istringstream fields(line.substr(close + 1));
  char state = 'Z';
  fields >> state >> process.Parent;
  std::string skipped;
  for (int i = 0; i < kFieldsUpToStart; ++i)
    fields >> skipped;
  fields >> process.StartTicks;
  return fields && state != 'Z' && state != 'X';
}

std::optional<Process> ReadProcess(pid_t id) {
  Process process;
  process.Id = id;
  if (!ParseState(Content(Entry(id, "stat")), process)) return std::nullopt;
  process.Arguments = Parts(Content(Entry(id, "cmdline")));
  std::error_code hidden;
  process.Program = fs::read_symlink(Entry(id, "exe"), hidden).string();
  process.bProgramDeleted = process.Program.ends_with(kDeleted);
  if (process.bProgramDeleted) process.Program.resize(process.Program.size() - kDeleted.size());
  return process;
}

std::optional<pid_t> ProcessNumber(const std::string& name) {
  pid_t number = 0;
  const auto [end, error] = std::from_chars(name.data(), name.data() + name.size(), number);
  if (error != std::errc{} || end != name.data() + name.size()) return std::nullopt;
  return number;
}

/// A program that may not be seen is known by the command line; one that was started by a relative
/// path counts, since that may well be here.
bool IsServer(const Process& process, const std::string& program) {
  if (!process.Program.empty()) return process.Program == program;
  if (process.Arguments.empty()) return false;
  const std::string& command = process.Arguments.front();
  return command == program ||
         (!command.starts_with('/') && ("/" + command).ends_with(kServerName));
}

std::timespec Now(clockid_t clock) {
  std::timespec now{};
  clock_gettime(clock, &now);
  return now;
}

constexpr long kNanoseconds = 1'000'000'000;

}  // namespace

bool Process::Mentions(const std::string& text) const {
  return std::any_of(Arguments.begin(), Arguments.end(), [&text](const std::string& argument) {
    return argument.find(text) != std::string::npos;
  });
}

ProcessTable ProcessTable::Read() {
  std::vector<Process> processes;
  std::error_code gone;
  for (fs::directory_iterator entry("/proc", gone), end; !gone && entry != end;
       entry.increment(gone)) {
    const std::optional<pid_t> id = ProcessNumber(entry->path().filename().string());
    const std::optional<Process> process = id ? ReadProcess(*id) : std::nullopt;
    if (process) processes.push_back(*process);
  }
  return ProcessTable(std::move(processes));
}

ProcessTable::ProcessTable(std::vector<Process> processes) : processes_(std::move(processes)) {}

const Process* ProcessTable::Find(pid_t id) const {
  const auto found = std::find_if(processes_.begin(), processes_.end(),
                                  [id](const Process& process) { return process.Id == id; });
  return found == processes_.end() ? nullptr : &*found;
}

bool ProcessTable::IsBelow(pid_t id, pid_t ancestor) const {
  const Process* process = Find(id);
  // A table that was read while processes came and went might lead in a circle.
  for (std::size_t steps = 0; process != nullptr && steps < processes_.size(); ++steps) {
    if (process->Parent == ancestor) return true;
    process = Find(process->Parent);
  }
  return false;
}

std::vector<Process> ProcessTable::ServersOf(const std::string& root) const {
  const std::string program = root + std::string(kServerName);
  std::vector<Process> servers;
  for (const Process& process : processes_) {
    const Process* parent = Find(process.Parent);
    const bool isOffspring = parent != nullptr && IsServer(*parent, program);
    if (IsServer(process, program) && !isOffspring) servers.push_back(process);
  }
  return servers;
}

std::timespec StartOf(const Process& process) {
  const auto ticksPerSecond = static_cast<unsigned long>(sysconf(_SC_CLK_TCK));
  const std::timespec now = Now(CLOCK_REALTIME);
  const std::timespec up = Now(CLOCK_BOOTTIME);
  std::timespec start{};
  start.tv_sec =
      now.tv_sec - up.tv_sec + static_cast<std::time_t>(process.StartTicks / ticksPerSecond);
  start.tv_nsec = now.tv_nsec - up.tv_nsec +
                  static_cast<long>(process.StartTicks % ticksPerSecond) *
                      (kNanoseconds / static_cast<long>(ticksPerSecond));
  for (; start.tv_nsec < 0; start.tv_nsec += kNanoseconds)
    --start.tv_sec;
  for (; start.tv_nsec >= kNanoseconds; start.tv_nsec -= kNanoseconds)
    ++start.tv_sec;
  return start;
}

std::map<std::string, std::string> EnvironmentOf(pid_t process) {
  std::map<std::string, std::string> environment;
  for (const std::string& entry : Parts(Content(Entry(process, "environ")))) {
    const std::size_t equals = entry.find('=');
    if (equals != std::string::npos)
      environment.emplace(entry.substr(0, equals), entry.substr(equals + 1));
  }
  return environment;
}

std::string WorkingDirectoryOf(pid_t process) {
  std::error_code hidden;
  return fs::read_symlink(Entry(process, "cwd"), hidden).string();
}

std::optional<Identity> IdentityOf(pid_t process) {
  std::ifstream status(Entry(process, "status"));
  Identity identity;
  bool known = false;
  for (std::string line; std::getline(status, line);) {
    std::istringstream fields(line);
    std::string name;
    std::string real;
    fields >> name;
    if (name == "Uid:") known = static_cast<bool>(fields >> real >> identity.User);
    if (name == "Gid:") fields >> real >> identity.Group;
    if (name == "Groups:") identity.Groups.assign(std::istream_iterator<gid_t>(fields), {});
  }
  return known ? std::optional(identity) : std::nullopt;
}

double ResidentBytesOf(pid_t process) {
  std::ifstream sizes(Entry(process, "statm"));
  long total = 0;
  long resident = 0;
  sizes >> total >> resident;
  return static_cast<double>(resident) * static_cast<double>(sysconf(_SC_PAGESIZE));
}

bool Become(const Identity& identity) {
  if (geteuid() == identity.User) return true;
  return setgroups(identity.Groups.size(), identity.Groups.data()) == 0 &&
         setgid(identity.Group) == 0 && setuid(identity.User) == 0;
}

bool AskAs(const std::optional<Identity>& identity, const std::function<bool()>& question) {
  if (!identity || identity->User == geteuid() || geteuid() != 0) return question();
  const pid_t child = fork();
  if (child == 0) _exit(Become(*identity) && question() ? 0 : 1);
  int status = 1;
  if (child < 0 || waitpid(child, &status, 0) != child) return question();
  return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

}  // namespace tools
