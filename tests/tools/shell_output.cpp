#include "shell_output.h"

#include <cstdio>
#include <memory>
#include <sstream>
#include <stdexcept>

namespace toolstest {

std::vector<std::string> ShellOutput(const std::string& line) {
  const std::unique_ptr<FILE, int (*)(FILE*)> pipe(::popen(("{ " + line + "\n} 2>&1").c_str(), "r"),
                                                   ::pclose);
  if (!pipe) throw std::runtime_error("no shell");
  std::string output;
  for (int c = std::fgetc(pipe.get()); c != EOF; c = std::fgetc(pipe.get()))
    output += static_cast<char>(c);
  std::vector<std::string> lines;
  std::istringstream stream(output);
  for (std::string printed; std::getline(stream, printed);)
    lines.push_back(printed);
  return lines;
}

std::string Quoted(const std::string& text) {
  std::string quoted = "'";
  for (const char c : text)
    quoted += c == '\'' ? "'\\''" : std::string(1, c);
  return quoted + "'";
}

}  // namespace toolstest
