#ifndef KA_TOOLS_ZSH_COMPLETION_H
#define KA_TOOLS_ZSH_COMPLETION_H

#include <CLI/CLI.hpp>
#include <string>

namespace tools {

/// The completion of zsh, with the descriptions of the options in the language of the shell.
/// \param german the same command line in German
/// \param english and in English
std::string ZshCompletion(const CLI::App& german, const CLI::App& english);

}  // namespace tools

#endif
