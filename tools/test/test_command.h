#ifndef KA_TOOLS_TEST_COMMAND_H
#define KA_TOOLS_TEST_COMMAND_H

#include <CLI/CLI.hpp>

#include "common/command.h"

namespace tools {

/// Adds "test": compares what the server makes of data blocks with what is expected.
CLI::App* AddTestCommand(CLI::App& app, Context& context);

}  // namespace tools

#endif
