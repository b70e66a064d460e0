#ifndef KA_TOOLS_CHECK_COMMAND_H
#define KA_TOOLS_CHECK_COMMAND_H

#include "common/command.h"

namespace tools {

/// Adds `ka-tts check`: finds what the server will do otherwise than the author wrote.
/// \param context outlives the app; gets the exit status
CLI::App* AddCheckCommand(CLI::App& app, Context& context);

}  // namespace tools

#endif
