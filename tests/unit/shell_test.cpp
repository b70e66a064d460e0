#include "kaShell.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/wait.h>

#include <filesystem>
#include <string>

#include "output_of.h"
#include "support/recording_shell.h"
#include "support/temp_dir.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

int AlwaysSeven(const std::string& /*command*/) {
  return 7;
}

}  // namespace

TEST(Shell, RunsTheCommandLineInAShell) {
  const support::TempDir directory;
  RunShellCommand("cd " + directory.Path() + "; echo \"$((20 + 3))\" > out");
  EXPECT_EQ(support::ReadFile(directory.Sub("out")), "23\n");
}

TEST(Shell, WaitsForTheEndAndReturnsTheStatus) {
  const int status = RunShellCommand("exit 3");
  ASSERT_TRUE(WIFEXITED(status));
  EXPECT_EQ(WEXITSTATUS(status), 3);
  EXPECT_EQ(RunShellCommand("true"), 0);
}

TEST(Shell, ChildrenWriteToTheServersStreams) {
  EXPECT_EQ(OutputOf([] { RunShellCommand("echo out; echo err >&2"); }),
            (Printed{"out\n", "err\n"}));
}

TEST(Shell, RunnerIsReplaceable) {
  const kaShellRunner before = SetShellRunner(AlwaysSeven);
  EXPECT_EQ(RunShellCommand("exit 3"), 7);
  EXPECT_EQ(SetShellRunner(before), &AlwaysSeven);
  EXPECT_EQ(RunShellCommand("true"), 0);
}

TEST(Shell, RecordingRunnerRunsNothing) {
  const support::TempDir directory;
  const std::string command = "touch " + directory.Sub("x");
  const support::RecordingShell shell;
  EXPECT_EQ(RunShellCommand(command), 0);
  EXPECT_EQ(RunShellCommand(""), 0);
  EXPECT_THAT(shell.Commands(), ElementsAre(command, ""));
  EXPECT_FALSE(std::filesystem::exists(directory.Sub("x")));
}

TEST(Shell, RecordingEndsWithItsLife) {
  { const support::RecordingShell shell; }
  EXPECT_TRUE(WIFEXITED(RunShellCommand("exit 3")));
  EXPECT_THAT(support::RecordingShell().Commands(), IsEmpty());
}

TEST(Shell, CommandLineIsHandedOverUnchanged) {
  support::RecordingShell shell;
  const std::string command = "cd /a b; ./x -- \"$(y) `z` \\\"\" 'é'\n";
  RunShellCommand(command);
  EXPECT_THAT(shell.Commands(), ElementsAre(command));
  shell.Clear();
  EXPECT_THAT(shell.Commands(), IsEmpty());
}
