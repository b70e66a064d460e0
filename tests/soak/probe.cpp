#include "probe.h"

#include <unistd.h>

#include <filesystem>
#include <sstream>
#include <string>

#include "process_info.h"
#include "support/temp_dir.h"

namespace soak {

namespace {

std::string ProcPath(pid_t pid, const std::string& name) {
  return "/proc/" + std::to_string(pid) + "/" + name;
}

/// The number behind a name at the beginning of a line.
double FigureOf(const std::string& text, const std::string& name) {
  const std::string mark = "\n" + name + ":";
  const std::size_t at = text.find(mark);
  return at == std::string::npos ? 0 : std::stod(text.substr(at + mark.size()));
}

std::size_t CountThreads(pid_t pid) {
  std::size_t count = 0;
  std::error_code gone;
  for (std::filesystem::directory_iterator task(ProcPath(pid, "task"), gone), end;
       !gone && task != end; task.increment(gone)) {
    ++count;
  }
  return count;
}

}  // namespace

Holdings Probe(pid_t pid) {
  const std::string memory = support::ReadFile(ProcPath(pid, "smaps_rollup"));
  return {servertest::OpenDescriptors(pid).size(), CountThreads(pid), FigureOf(memory, "Rss"),
          FigureOf(memory, "Anonymous")};
}

double ProcessorSecondsWithChildren(pid_t pid) {
  const std::string status = support::ReadFile(ProcPath(pid, "stat"));
  if (status.empty()) return 0;
  std::istringstream fields(status.substr(status.rfind(')') + 2));
  std::string skipped;
  for (int field = 3; field < 14; ++field)
    fields >> skipped;
  double ticks = 0;
  for (int field = 14; field < 18; ++field) {
    double time = 0;
    fields >> time;
    ticks += time;
  }
  return ticks / static_cast<double>(sysconf(_SC_CLK_TCK));
}

}  // namespace soak
