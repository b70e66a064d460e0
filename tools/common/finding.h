#ifndef KA_TOOLS_FINDING_H
#define KA_TOOLS_FINDING_H

#include <filesystem>
#include <string>
#include <string_view>

namespace tools {

/// How bad a finding is. A hint alone is no reason to end with status 1.
enum class Severity { Error, Warning, Hint };

/// "error", "warning" or "hint": the same in every language, since editors look for these words.
std::string_view NameOf(Severity severity);

/// Where something was found. Line and column count from 1, columns in characters; 0 is unknown.
struct Place {
  std::filesystem::path File;
  int Line = 0;
  int Column = 0;
};

/// One place where the server does something else than the author wrote.
struct Finding {
  Severity Level = Severity::Error;
  std::string Rule;  ///< id of the rule
  Place Where;
  std::string Problem;  ///< what is wrong
  std::string Effect;   ///< what the server does with it
  std::string Advice;   ///< what to write instead
};

}  // namespace tools

#endif
