#ifndef KA_TOOLS_COMPLETION_H
#define KA_TOOLS_COMPLETION_H

#include <string>
#include <string_view>
#include <vector>

#include "man/option_list.h"

namespace tools {

/// What the shell offers for an argument.
struct Completion {
  enum class Kind { Nothing, Words, Files, Directories };

  Kind Offers = Kind::Nothing;
  std::vector<std::string> Words;  ///< in their order; for Kind::Words only
};

/// What completes an argument of an option or an operand.
/// \param argument one of option.Arguments
Completion CompletionOf(const ListedOption& option, const std::string& argument);

/// `words` with a blank between each two.
std::string Joined(const std::vector<std::string>& words);

/// `text` in single quotes, as both shells read it.
std::string InShellQuotes(std::string_view text);

}  // namespace tools

#endif
