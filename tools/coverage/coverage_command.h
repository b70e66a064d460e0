#ifndef KA_TOOLS_COVERAGE_COMMAND_H
#define KA_TOOLS_COVERAGE_COMMAND_H

#include "common/command.h"

namespace tools {

/// Adds `ka-tts coverage`: tells what of the announcement document a set of blocks reaches.
/// \param context outlives the app; gets the exit status
CLI::App* AddCoverageCommand(CLI::App& app, Context& context);

}  // namespace tools

#endif
