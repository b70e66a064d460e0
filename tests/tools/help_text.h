#ifndef KA_TESTS_TOOLS_HELP_TEXT_H
#define KA_TESTS_TOOLS_HELP_TEXT_H

#include <string>
#include <vector>

namespace toolstest {

/// A line of a help that tells of an option.
struct HelpOption {
  std::vector<std::string> Names;  ///< e.g. "-h", "--help"
  std::string Arguments;           ///< e.g. " LANG"; a blank before each
  std::string Text;  ///< the whole line, and the next where the description stands there

  /// As the manual page has it: "-h, --help".
  std::string Head() const;
};

/// What `ka-tts COMMAND --help` prints; without a command what `ka-tts --help` does.
std::string HelpOf(const std::string& command, const std::string& language);
std::vector<HelpOption> HelpOptions(const std::string& help);

/// The subcommands that `ka-tts --help` names.
std::vector<std::string> HelpCommands();

}  // namespace toolstest

#endif
