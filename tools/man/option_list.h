#ifndef KA_TOOLS_OPTION_LIST_H
#define KA_TOOLS_OPTION_LIST_H

#include <CLI/CLI.hpp>
#include <string>
#include <vector>

namespace tools {

/// An option or an operand of a command line, as manual pages and completions show it.
struct ListedOption {
  std::vector<std::string> Names;  ///< with their dashes, the short one first; none for operands
  std::vector<std::string> Arguments;  ///< what stands for each of its arguments, e.g. "FILE"
  std::string Description;
  bool bRepeated = false;  ///< may be given more than once

  bool IsOperand() const { return Names.empty(); }
  /// What completion knows it by: its long name, e.g. "--lang".
  const std::string& Key() const { return Names.back(); }
};

/// The operands, then the options, in the order in which the command has them.
std::vector<ListedOption> OptionsOf(const CLI::App& command);

/// The subcommands in the order of their names.
std::vector<const CLI::App*> CommandsOf(const CLI::App& app);

}  // namespace tools

#endif
