/// \file
/// Entry point: starts the server and idles until the command port ends it.

#include "ka-tts-server.h"

#include <unistd.h>

#include <cstdlib>
#include <string>

#include "kaProcess.h"
#include "kaShared.h"
#include "kaShell.h"
#include "kaTTSServer.h"

namespace {

void PrepareProcess() {
  OpenStandardDescriptors();
  UseLineBufferedOutput();
  SurviveBrokenPipes();
  KeepXmlLibraryUntilExit();
}

void WaitForEnd() {
  constexpr useconds_t kPollInterval = 100000;
  while (LoadShared(ServerOperate))
    usleep(kPollInterval);
}

/// The script stands in the working directory and waits for this process to go.
void RunRestartScript() {
  RunShellCommand("sh restart " + std::to_string(getpid()) + " " + GlobalCWD + "/ka-tts-server");
}

}  // namespace

int main(int argc, char** argv) {
  PrepareProcess();
  SetExeDir();
  GlbLng = 0;
  StoreShared(ServerRestart, false);
  StoreShared(ServerOperate, true);

  CkaTTSServer server;
  // True stands for failure here, and the server never answers it: it runs with whatever it could
  // open.
  if (server.IsInitialized()) {
    server.SendErrMsg(0, kEntryMsgClass);
    std::exit(EXIT_FAILURE);
  }
  server.SendStdMsg(_MMInitServer, kEntryMsgClass);
  InterpretCL(argc, argv);
  WaitForEnd();
  server.SendStdMsg(_MMCloseServer, kEntryMsgClass);
  if (LoadShared(ServerRestart)) RunRestartScript();
  // Ends with the listener threads alive; `server` is never destroyed.
  std::exit(EXIT_SUCCESS);
}
