#ifndef KA_TOOLS_BASH_COMPLETION_H
#define KA_TOOLS_BASH_COMPLETION_H

#include <CLI/CLI.hpp>
#include <string>

namespace tools {

/// The completion of bash for `app`. It needs nothing but bash itself.
std::string BashCompletion(const CLI::App& app);

}  // namespace tools

#endif
