#ifndef KA_TOOLS_PREVIEW_COMMAND_H
#define KA_TOOLS_PREVIEW_COMMAND_H

#include <CLI/CLI.hpp>

#include "common/command.h"

namespace tools {

/// Adds "preview": what the server makes of data blocks.
CLI::App* AddPreviewCommand(CLI::App& app, Context& context);

}  // namespace tools

#endif
