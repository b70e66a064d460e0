#ifndef KA_SHELL_H
#define KA_SHELL_H

#include <string>

/// \file
/// The one way from the server to a shell: speech engine, players, killall, cp, rm, reboot and the
/// restart script all go through RunShellCommand.

/// Runs one command line, waits for its end and returns its status as `system` does.
using kaShellRunner = int (*)(const std::string& command);

/// Runs `command` through the present runner, by default `system`.
/// \return the runner's result; the server's callers do not look at it.
int RunShellCommand(const std::string& command);

/// Replaces the runner for the whole process, for tests and tools that must not start anything.
/// \return the runner before.
kaShellRunner SetShellRunner(kaShellRunner runner);

#endif
