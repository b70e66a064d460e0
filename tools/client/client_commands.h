#ifndef KA_TOOLS_CLIENT_COMMANDS_H
#define KA_TOOLS_CLIENT_COMMANDS_H

#include "common/command.h"

namespace tools {

/// Adds the commands that talk to a running server: say, urgent, send, play, bell, stop, terminate
/// and restart.
void AddClientCommands(CLI::App& app, Context& context);

}  // namespace tools

#endif
