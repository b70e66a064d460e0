#ifndef KA_TOOLS_APP_H
#define KA_TOOLS_APP_H

#include <CLI/CLI.hpp>
#include <memory>

#include "common/command.h"

namespace tools {

/// The whole command line of `ka-tts` with its help in the language of `context`, which must
/// outlive it. Manual pages and completions of the shells are made from the same object.
std::unique_ptr<CLI::App> MakeApp(Context& context);

}  // namespace tools

#endif
