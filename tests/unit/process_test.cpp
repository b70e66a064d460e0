#include "kaProcess.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <libxml/parser.h>
#include <libxml/xmlmemory.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <string>
#include <thread>

#include "ka-tts-server.h"
#include "kaOutput.h"
#include "kaTTSServer.h"
#include "support/capture_output.h"
#include "support/end_child.h"
#include "support/temp_dir.h"

namespace {

// Taken before main, when no test has touched the variables yet.
const bool kOperateAtLoad = ServerOperate;
const bool kRestartAtLoad = ServerRestart;
const bool kRootEmptyAtLoad = GlobalCWD[0] == '\0';
const std::int32_t kLanguageAtLoad = GlbLng;
const bool kNoApplicationAtLoad = AppRef == nullptr;
const bool kNoCacheManagerAtLoad = CacheManager == nullptr;
const std::int32_t kMessagesAtLoad = MessageCounter;

/// Runs `action` in a child process. \return its wait status; 0 if `action` was true.
int StatusOfChild(const std::function<bool()>& action) {
  const pid_t child = fork();
  if (child == 0) support::EndChild(action() ? 0 : 1);
  int status = -1;
  waitpid(child, &status, 0);
  return status;
}

bool IsDevNull(int descriptor) {
  struct stat status {};
  return fstat(descriptor, &status) == 0 && S_ISCHR(status.st_mode) &&
         status.st_rdev == makedev(1, 3);
}

/// A pipe whose ends are closed by the test.
struct Pipe {
  Pipe() {
    std::array<int, 2> ends{};
    if (pipe2(ends.data(), O_CLOEXEC) == 0) {
      readEnd = ends[0];
      writeEnd = ends[1];
    }
  }
  int readEnd = -1;
  int writeEnd = -1;
};

TEST(ProcessVariables, AreFalseZeroEmptyOrNullBeforeMain) {
  EXPECT_FALSE(kOperateAtLoad);
  EXPECT_FALSE(kRestartAtLoad);
  EXPECT_TRUE(kRootEmptyAtLoad);
  EXPECT_EQ(kLanguageAtLoad, 0);
  EXPECT_TRUE(kNoApplicationAtLoad);
  EXPECT_TRUE(kNoCacheManagerAtLoad);
  EXPECT_EQ(kMessagesAtLoad, 0);
}

TEST(ProcessVariables, EntryMessagesAreZeroAndOneOfClass1000) {
  EXPECT_EQ(_MMInitServer, 0);
  EXPECT_EQ(_MMCloseServer, 1);
  EXPECT_EQ(kEntryMsgClass, 1000U);
}

TEST(ProcessVariables, RootHasRoomForAThousandBytes) {
  EXPECT_EQ(sizeof GlobalCWD, 1001U);
}

TEST(SetExeDir, StoresTheDirectoryOfTheRunningExecutable) {
  const support::ServerRoot restoresTheRoot("/somewhere/else/that/is/rather/long/before");
  SetExeDir();
  EXPECT_EQ(GlobalCWD, std::filesystem::read_symlink("/proc/self/exe").parent_path().string());
}

TEST(SetExeDir, DoesNotDependOnTheWorkingDirectory) {
  const support::ServerRoot restoresTheRoot("");
  const auto workingDirectory = std::filesystem::current_path();
  std::filesystem::current_path("/");
  SetExeDir();
  std::filesystem::current_path(workingDirectory);
  EXPECT_EQ(GlobalCWD, std::filesystem::read_symlink("/proc/self/exe").parent_path().string());
}

TEST(InterpretCL, IgnoresEveryArgument) {
  const support::ServerRoot root("/opt/tts");
  const support::CaptureOutput output;
  std::string name = "ka-tts-server";
  std::string help = "--help";
  std::string stop = "!terminate";
  std::array<char*, 4> arguments = {name.data(), help.data(), stop.data(), nullptr};
  InterpretCL(3, arguments.data());
  InterpretCL(0, nullptr);
  EXPECT_EQ(output.Out() + output.Err(), "");
  EXPECT_STREQ(GlobalCWD, "/opt/tts");
  EXPECT_EQ(name + help + stop, "ka-tts-server--help!terminate");
}

TEST(OpenStandardDescriptors, FillsEachClosedOneWithTheNullDevice) {
  for (const int closed : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
    EXPECT_EQ(StatusOfChild([=] {
                close(closed);
                OpenStandardDescriptors();
                return IsDevNull(closed);
              }),
              0)
        << closed;
  }
}

TEST(OpenStandardDescriptors, FillsAllThreeSoThatTheNextFileIsNoStandardStream) {
  EXPECT_EQ(StatusOfChild([] {
              for (const int standard : {0, 1, 2})
                close(standard);
              OpenStandardDescriptors();
              return IsDevNull(0) && IsDevNull(1) && IsDevNull(2) &&
                     open("/", O_RDONLY | O_CLOEXEC) > STDERR_FILENO;
            }),
            0);
}

TEST(OpenStandardDescriptors, StaysOpenInChildren) {
  EXPECT_EQ(StatusOfChild([] {
              close(STDOUT_FILENO);
              OpenStandardDescriptors();
              return (fcntl(STDOUT_FILENO, F_GETFD) & FD_CLOEXEC) == 0;
            }),
            0);
}

TEST(OpenStandardDescriptors, LeavesOpenOnesAlone) {
  EXPECT_EQ(StatusOfChild([] {
              const Pipe pipe;
              dup2(pipe.writeEnd, STDOUT_FILENO);
              OpenStandardDescriptors();
              char byte = 0;
              return write(STDOUT_FILENO, "x", 1) == 1 && read(pipe.readEnd, &byte, 1) == 1 &&
                     byte == 'x';
            }),
            0);
}

TEST(UseLineBufferedOutput, HandsEachLineOnAtItsEnd) {
  EXPECT_EQ(StatusOfChild([] {
              const Pipe pipe;
              dup2(pipe.writeEnd, STDOUT_FILENO);
              fcntl(pipe.readEnd, F_SETFL, O_NONBLOCK);
              UseLineBufferedOutput();
              std::fputs("half a line", stdout);
              std::array<char, 64> text{};
              const bool held = read(pipe.readEnd, text.data(), text.size()) < 0;
              std::fputs(" and its end\n", stdout);
              const ssize_t count = read(pipe.readEnd, text.data(), text.size());
              return held && std::string(text.data()) == "half a line and its end\n" && count == 24;
            }),
            0);
}

TEST(SurviveBrokenPipes, AWriteToAVanishedReaderFailsOnly) {
  EXPECT_EQ(StatusOfChild([] {
              const Pipe pipe;
              SurviveBrokenPipes();
              close(pipe.readEnd);
              return write(pipe.writeEnd, "x", 1) < 0 && errno == EPIPE;
            }),
            0);
}

TEST(SurviveBrokenPipes, IsAHandlerThatChildrenDoNotInheritAndRestartsCalls) {
  EXPECT_EQ(StatusOfChild([] {
              SurviveBrokenPipes();
              struct sigaction action {};
              sigaction(SIGPIPE, nullptr, &action);
              return action.sa_handler != SIG_IGN && action.sa_handler != SIG_DFL &&
                     (action.sa_flags & SA_RESTART) != 0;
            }),
            0);
}

// The library's destructor frees its tables only while its memory functions are the C library's.
TEST(KeepXmlLibraryUntilExit, ReplacesTheMemoryFunctionsThatItsDestructorAsksFor) {
  EXPECT_EQ(StatusOfChild([] {
              const bool before = xmlFree == static_cast<xmlFreeFunc>(std::free);
              KeepXmlLibraryUntilExit();
              return before && xmlFree != static_cast<xmlFreeFunc>(std::free);
            }),
            0);
}

TEST(KeepXmlLibraryUntilExit, ThreadsMayParseWhileTheProcessExits) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(
      {
        KeepXmlLibraryUntilExit();
        for (int i = 0; i < 2; ++i) {
          std::thread([] {
            const std::string document = "<a><b c='d'>e</b></a>";
            for (;;) {
              xmlFreeDoc(xmlReadMemory(document.data(), static_cast<int>(document.size()), "memory",
                                       nullptr, XML_PARSE_NOERROR));
            }
          }).detach();
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
        exit(0);  // NOLINT(concurrency-mt-unsafe): what other threads make of it is the question
      },
      ::testing::ExitedWithCode(0), "");
}

}  // namespace

// The counting of executed lines happens in the handlers that are skipped here.
TEST(Process, ExitWritesWhatIsBufferedAndTearsNothingDown) {
  const Pipe output;
  std::fflush(stdout);
  const pid_t child = fork();
  if (child == 0) {
    std::atexit([] { PrintErr("torn down"); });
    SkipTearDownAtExit();
    dup2(output.writeEnd, STDOUT_FILENO);
    dup2(output.writeEnd, STDERR_FILENO);
    PrintOut("without a line end");
    std::exit(3);  // NOLINT(concurrency-mt-unsafe): one thread
  }
  int status = -1;
  waitpid(child, &status, 0);
  std::array<char, 100> text{};
  ASSERT_GT(read(output.readEnd, text.data(), text.size() - 1), 0);
  EXPECT_STREQ(text.data(), "without a line end");
  EXPECT_TRUE(WIFEXITED(status));
  EXPECT_EQ(WEXITSTATUS(status), 3);
  close(output.readEnd);
  close(output.writeEnd);
}
