#include "support/station.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "ka-tts-server.h"
#include "kaShell.h"
#include "support/output.h"
#include "support/temp_dir.h"

namespace fuzz {

namespace {

support::TempDir* gDirectory = nullptr;
CommandRecord* gRecord = nullptr;

/// Never runs anything, whatever a target forgets.
int RunNothing(const std::string& /*command*/) {
  return 0;
}

/// The start-up ends at once without a configuration file, so the root is a directory without one.
CkaTTSServer* MakeServer() {
  const Output quiet;
  SetShellRunner(RunNothing);
  const support::ServerRoot root(TheDirectory() + "/play");
  auto* server = new CkaTTSServer;
  AppRef = nullptr;
  return server;
}

support::TempDir& Directory() {
  if (gDirectory == nullptr) {
    gDirectory = new support::TempDir;
    std::atexit([] { delete gDirectory; });
    static_cast<void>(gDirectory->MakeDir("store"));
    static_cast<void>(gDirectory->MakeDir("play"));
  }
  return *gDirectory;
}

}  // namespace

CkaTTSServer& TheServer() {
  static CkaTTSServer* server = MakeServer();
  return *server;
}

const std::string& TheDirectory() {
  return Directory().Path();
}

std::string WriteFile(const std::string& name, const std::string& content) {
  return Directory().Write(name, content);
}

void UseAsRoot(const std::string& path) {
  const std::size_t length = std::min(path.size(), sizeof GlobalCWD - 1);
  std::memcpy(GlobalCWD, path.data(), length);
  GlobalCWD[length] = '\0';
}

CommandRecord::CommandRecord(Action action) : action_(action) {
  gRecord = this;
  SetShellRunner(Record);
}

CommandRecord::~CommandRecord() {
  SetShellRunner(RunNothing);
  gRecord = nullptr;
}

int CommandRecord::Record(const std::string& command) {
  gRecord->commands_.push_back(command);
  if (gRecord->action_ != nullptr) gRecord->action_(gRecord->commands_.size());
  return 0;
}

}  // namespace fuzz
