#ifndef KA_TOOLS_LEVEL_COMMAND_H
#define KA_TOOLS_LEVEL_COMMAND_H

#include "common/command.h"

namespace tools {

/// Adds `ka-tts level`: measures how loud a station's sounds are, and levels them.
/// \param context outlives the app; gets the exit status
CLI::App* AddLevelCommand(CLI::App& app, Context& context);

}  // namespace tools

#endif
