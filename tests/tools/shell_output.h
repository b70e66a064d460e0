#ifndef KA_TESTS_TOOLS_SHELL_OUTPUT_H
#define KA_TESTS_TOOLS_SHELL_OUTPUT_H

#include <string>
#include <vector>

namespace toolstest {

/// What a line of the shell prints on both streams, line by line.
std::vector<std::string> ShellOutput(const std::string& line);

/// `text` in single quotes of the shell.
std::string Quoted(const std::string& text);

}  // namespace toolstest

#endif
