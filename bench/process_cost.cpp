#include "process_cost.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <sstream>

#include "support/temp_dir.h"

namespace bench {

namespace {

std::string ProcPath(pid_t pid, const std::string& name) {
  return "/proc/" + std::to_string(pid) + "/" + name;
}

/// Value of a row "NAME: VALUE".
std::int64_t RowValue(const std::string& path, const std::string& name) {
  std::ifstream file(path);
  for (std::string row; std::getline(file, row);) {
    if (row.starts_with(name + ":")) return std::stoll(row.substr(name.size() + 1));
  }
  return 0;
}

}  // namespace

std::map<pid_t, std::int64_t> ThreadNanoseconds(pid_t pid) {
  std::map<pid_t, std::int64_t> threads;
  std::error_code gone;
  for (std::filesystem::directory_iterator task(ProcPath(pid, "task"), gone), end;
       !gone && task != end; task.increment(gone)) {
    std::int64_t nanoseconds = 0;
    std::ifstream(task->path() / "schedstat") >> nanoseconds;
    threads[std::stoi(task->path().filename().string())] = nanoseconds;
  }
  return threads;
}

std::int64_t OwnNanoseconds(pid_t pid) {
  std::int64_t sum = 0;
  for (const auto& [thread, nanoseconds] : ThreadNanoseconds(pid))
    sum += nanoseconds;
  return sum;
}

double ChildrenMilliseconds(pid_t pid) {
  const std::string status = support::ReadFile(ProcPath(pid, "stat"));
  std::istringstream fields(status.substr(status.rfind(')') + 2));
  std::string skipped;
  for (int field = 3; field < 16; ++field)
    fields >> skipped;
  double user = 0;
  double system = 0;
  fields >> user >> system;
  return (user + system) * 1000 / static_cast<double>(sysconf(_SC_CLK_TCK));
}

std::int64_t VoluntarySwitches(pid_t pid, pid_t thread) {
  return RowValue(ProcPath(pid, "task/" + std::to_string(thread) + "/status"),
                  "voluntary_ctxt_switches");
}

double Kilobytes(pid_t pid, const std::string& file, const std::string& name) {
  return static_cast<double>(RowValue(ProcPath(pid, file), name));
}

bool PortsListen(const std::initializer_list<unsigned>& ports) {
  const std::string table = support::ReadFile("/proc/net/tcp");
  return std::all_of(ports.begin(), ports.end(), [&table](unsigned port) {
    std::array<char, 40> row{};
    std::snprintf(row.data(), row.size(), ":%04X 00000000:0000 0A", port);
    return table.find(row.data()) != std::string::npos;
  });
}

double NowMilliseconds() {
  timespec now{};
  clock_gettime(CLOCK_MONOTONIC, &now);
  return static_cast<double>(now.tv_sec) * 1e3 + static_cast<double>(now.tv_nsec) / 1e6;
}

}  // namespace bench
