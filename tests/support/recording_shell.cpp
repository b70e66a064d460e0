#include "support/recording_shell.h"

#include <mutex>
#include <utility>

namespace support {

namespace {

struct Record {
  std::mutex mutex;
  std::vector<std::string> commands;
  std::function<void(const std::string&)> action;
};

// Never destroyed: threads of a test may outlive main.
Record& TheRecord() {
  static Record* record = new Record;
  return *record;
}

int RecordCommand(const std::string& command) {
  Record& record = TheRecord();
  std::function<void(const std::string&)> action;
  {
    const std::lock_guard lock(record.mutex);
    record.commands.push_back(command);
    action = record.action;
  }
  if (action) action(command);
  return 0;
}

}  // namespace

RecordingShell::RecordingShell() : before_(SetShellRunner(RecordCommand)) {}

RecordingShell::~RecordingShell() {
  SetShellRunner(before_);
  OnCommand(nullptr);
  Clear();
}

std::vector<std::string> RecordingShell::Commands() const {
  const std::lock_guard lock(TheRecord().mutex);
  return TheRecord().commands;
}

void RecordingShell::Clear() {
  const std::lock_guard lock(TheRecord().mutex);
  TheRecord().commands.clear();
}

void RecordingShell::OnCommand(std::function<void(const std::string&)> action) {
  const std::lock_guard lock(TheRecord().mutex);
  TheRecord().action = std::move(action);
}

}  // namespace support
