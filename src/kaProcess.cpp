#include "kaProcess.h"

#include <fcntl.h>
#include <libxml/xmlmemory.h>
#include <malloc.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "ka-tts-server.h"

char GlobalCWD[1001] = {};
std::int32_t GlbLng = 0;
bool ServerOperate = false;
bool ServerRestart = false;

void SetExeDir() {
  const ssize_t length = readlink("/proc/self/exe", GlobalCWD, sizeof GlobalCWD - 1);
  GlobalCWD[std::max<ssize_t>(length, 0)] = '\0';
  if (char* lastSlash = std::strrchr(GlobalCWD, '/')) *lastSlash = '\0';
}

void InterpretCL(int /*argc*/, char** /*argv*/) {}

void OpenStandardDescriptors() {
  for (int descriptor = 0; descriptor <= 2; ++descriptor) {
    if (fcntl(descriptor, F_GETFD) >= 0) continue;
    // `open` takes the lowest free number, which is this one: those below are open.
    if (open("/dev/null", O_RDWR) < 0) return;  // NOLINT: children are to inherit these three
  }
}

void UseLineBufferedOutput() {
  std::setvbuf(stdout, nullptr, _IOLBF, BUFSIZ);
}

void SurviveBrokenPipes() {
  struct sigaction action {};
  action.sa_handler = [](int) {};
  action.sa_flags = SA_RESTART;
  sigaction(SIGPIPE, &action, nullptr);
}

void KeepXmlLibraryUntilExit() {
  // libxml2's destructor frees its tables in `exit`, but only while `xmlFree` is `free` itself.
  xmlMemSetup([](void* memory) { std::free(memory); }, std::malloc, std::realloc, strdup);
}

void SkipTearDownAtExit() {
  // Without the stream's lock, as in `exit` itself: a thread may hold it for as long as nobody
  // reads.
  constexpr auto kEnd = [](int status, void*) {
    fflush_unlocked(stdout);
    _exit(status);
  };
  on_exit(kEnd, nullptr);
}

void ReturnFreeMemory() {
  malloc_trim(0);
}
