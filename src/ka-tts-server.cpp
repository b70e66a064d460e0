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
#ifndef KA_RUN_EXIT_HANDLERS  // builds that count executed lines or leaks do so in `exit`
  SkipTearDownAtExit();
#endif
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

/// Ends with the listener threads alive: they serve until the process is gone, and nothing that
/// they use is destroyed.
[[noreturn]] void EndProcess(int status) {
  std::exit(status);  // NOLINT(concurrency-mt-unsafe): called once, by the main thread
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
    EndProcess(EXIT_FAILURE);
  }
  ReturnFreeMemory();
  server.SendStdMsg(_MMInitServer, kEntryMsgClass);
  InterpretCL(argc, argv);
  WaitForEnd();
  server.SendStdMsg(_MMCloseServer, kEntryMsgClass);
  if (LoadShared(ServerRestart)) RunRestartScript();
  EndProcess(EXIT_SUCCESS);
}
