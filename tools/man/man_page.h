#ifndef KA_TOOLS_MAN_PAGE_H
#define KA_TOOLS_MAN_PAGE_H

#include <CLI/CLI.hpp>
#include <string>

namespace tools {

/// A manual page of its template. There a line of its own is replaced:
///
/// - `@OPTIONS@` by operands and options of the command that the page is named after
/// - `@OPTIONS COMMAND@` by those of a subcommand
/// - `@COMMANDS@` by the subcommands
///
/// and `@VERSION@` anywhere by the program's version.
/// \param name of the page without its section, e.g. "ka-tts-check"
/// \throws std::runtime_error if a placeholder asks for what there is not
std::string ManPage(const std::string& source, const std::string& name, const CLI::App& app);

}  // namespace tools

#endif
