#ifndef KA_TTS_SERVER_H
#define KA_TTS_SERVER_H

#include <cstdint>

/// \file
/// The process-wide variables and the first steps of the program. They are defined in the library
/// (kaProcess.cpp), so that tests and tools link without the entry point.

/// Directory of the running executable, without trailing "/". All relative paths of the server
/// stand below it. Written once by SetExeDir, before any thread starts.
extern char GlobalCWD[1001];

/// Index of the language of all messages: 0 German, 1 English. Written before the threads start.
extern std::int32_t GlbLng;

/// True while the server is to keep running. Cleared by the command thread, polled by the main
/// thread; both through LoadShared and StoreShared (kaShared.h).
extern bool ServerOperate;

/// True when the process is to be followed by a new one. Written before ServerOperate is cleared.
extern bool ServerRestart;

/// Numbers of the standard messages of class 1000.
enum { _MMInitServer = 0, _MMCloseServer = 1 };

/// Class id under which the program entry sends its messages.
constexpr unsigned int kEntryMsgClass = 1000;

/// Stores the directory of the running executable in GlobalCWD; leaves it empty if /proc does not
/// tell.
void SetExeDir();

/// Interprets the command line. The program takes no options: any argument is ignored.
void InterpretCL(int argc, char** argv);

#endif
