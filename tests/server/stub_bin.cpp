#include "stub_bin.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>

namespace servertest {

namespace {

constexpr auto kExecutable =
    std::filesystem::perms::owner_all | std::filesystem::perms::group_read |
    std::filesystem::perms::group_exec | std::filesystem::perms::others_read |
    std::filesystem::perms::others_exec;

void WriteScript(const std::string& path, const std::string& script) {
  std::ofstream(path) << script;
  std::filesystem::permissions(path, kExecutable);
}

}  // namespace

StubBin::StubBin(const std::string& directory)
    : directory_(directory), record_(directory + ".calls") {
  std::filesystem::create_directories(directory_);
  ForgetCalls();
}

void StubBin::Add(const std::string& name, const std::string& action) {
  AddAt(directory_ + "/" + name, name, action);
}

void StubBin::AddAt(const std::string& path, const std::string& name, const std::string& action) {
  std::filesystem::create_directories(std::filesystem::path(path).parent_path());
  // One printf per call, so that recorders running side by side do not mix their lines.
  WriteScript(path,
              "#!/bin/sh\n"
              "call='" +
                  name +
                  "'\n"
                  "for argument in \"$@\"; do call=\"$call [$argument]\"; done\n"
                  "printf '%s\\n' \"$call\" >>'" +
                  record_ +
                  "'\n"
                  "patience=3000\n"
                  "while [ -e '" +
                  HoldMark(name) +
                  "' ] && [ $patience -gt 0 ]; do\n"
                  "  /bin/sleep 0.02\n"
                  "  patience=$((patience - 1))\n"
                  "done\n" +
                  action + "\n");
}

void StubBin::AddReal(const std::string& name) {
  for (const char* place : {"/usr/bin/", "/bin/"}) {
    if (!std::filesystem::exists(place + name)) continue;
    std::filesystem::remove(directory_ + "/" + name);
    std::filesystem::create_symlink(place + name, directory_ + "/" + name);
    return;
  }
  throw std::runtime_error(name + " is not installed");
}

std::vector<std::string> StubBin::Calls() const {
  std::ifstream record(record_);
  std::vector<std::string> calls;
  for (std::string line; std::getline(record, line);)
    calls.push_back(line);
  return calls;
}

std::vector<std::string> StubBin::CallsOf(const std::string& name) const {
  std::vector<std::string> calls = Calls();
  std::erase_if(calls, [&](const std::string& call) {
    return call != name && !call.starts_with(name + " [");
  });
  return calls;
}

void StubBin::ForgetCalls() {
  std::ofstream(record_).close();
  // A server that runs as another user writes it, too.
  std::filesystem::permissions(record_, std::filesystem::perms(0666));
}

void StubBin::Hold(const std::string& name) const {
  std::ofstream(HoldMark(name)).close();
}

void StubBin::Release(const std::string& name) const {
  std::filesystem::remove(HoldMark(name));
}

std::string StubBin::ReleasingAction(const std::string& name) const {
  return "/bin/rm -f '" + HoldMark(name) + "'\n";
}

std::string StubBin::HoldMark(const std::string& name) const {
  return directory_ + ".hold." + name;
}

}  // namespace servertest
