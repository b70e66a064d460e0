#include "help_text.h"

#include <regex>
#include <sstream>

#include "program.h"

namespace toolstest {

namespace {

std::vector<std::string> LinesOf(const std::string& text) {
  std::vector<std::string> lines;
  std::istringstream stream(text);
  for (std::string line; std::getline(stream, line);)
    lines.push_back(line);
  return lines;
}

std::vector<std::string> Split(const std::string& text, char separator) {
  std::vector<std::string> parts;
  std::istringstream stream(text);
  for (std::string part; std::getline(stream, part, separator);)
    parts.push_back(part);
  return parts;
}

}  // namespace

std::string HelpOption::Head() const {
  std::string head;
  for (const std::string& name : Names)
    head += (head.empty() ? "" : ", ") + name;
  return head + Arguments;
}

std::string HelpOf(const std::string& command, const std::string& language) {
  std::vector<std::string> arguments = {"--help"};
  if (!command.empty()) arguments.insert(arguments.begin(), command);
  return RunTool(arguments, {{"LC_ALL", language == "de" ? "de_DE.UTF-8" : "C.UTF-8"}}).Out;
}

std::vector<HelpOption> HelpOptions(const std::string& help) {
  // Words in capitals behind the names are arguments, CLI11 tells their range behind a colon.
  static const std::regex kOption("^  (-[^ ]+)((?: [A-Z][A-Z=_]*(?=[ :]|$))*).*");
  std::vector<HelpOption> options;
  const std::vector<std::string> lines = LinesOf(help);
  for (std::size_t at = 0; at < lines.size(); ++at) {
    std::smatch match;
    if (!std::regex_match(lines[at], match, kOption)) continue;
    const bool continued = at + 1 < lines.size() && lines[at + 1].starts_with("     ");
    options.push_back(
        {Split(match[1], ','), match[2], lines[at] + (continued ? lines[at + 1] : "")});
  }
  return options;
}

std::vector<std::string> HelpCommands() {
  static const std::regex kCommand("^  ([a-z]+) .*");
  std::vector<std::string> commands;
  for (const std::string& line : LinesOf(HelpOf("", "en"))) {
    std::smatch match;
    if (std::regex_match(line, match, kCommand)) commands.push_back(match[1]);
  }
  return commands;
}

}  // namespace toolstest
