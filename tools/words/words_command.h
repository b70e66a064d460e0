#ifndef KA_TOOLS_WORDS_COMMAND_H
#define KA_TOOLS_WORDS_COMMAND_H

#include "common/command.h"

namespace tools {

/// Adds `ka-tts words`: how the words of a station are spoken, and entries for its lexica.
CLI::App* AddWordsCommand(CLI::App& app, Context& context);

}  // namespace tools

#endif
