#include "man/man_page.h"

#include <sstream>
#include <stdexcept>
#include <string_view>

#include "man/option_list.h"

namespace tools {

namespace {

/// `text` as roff source that prints it as it stands.
std::string Roff(std::string_view text) {
  std::string escaped;
  for (const char c : text) {
    if (c == '-') {
      escaped += "\\-";
    } else if (c == '\\') {
      escaped += "\\e";
    } else {
      escaped += c;
    }
  }
  return escaped;
}

/// A text as a line of its own: a full stop or an apostrophe at its begin would make it a request.
std::string RoffLine(std::string_view text) {
  const bool isRequest = text.starts_with('.') || text.starts_with('\'');
  return (isRequest ? "\\&" : "") + Roff(text) + "\n";
}

std::string Bold(const std::string& text) {
  return "\\fB" + Roff(text) + "\\fR";
}

std::string Italic(const std::string& text) {
  return "\\fI" + Roff(text) + "\\fR";
}

std::string HeadOf(const ListedOption& option) {
  std::string head;
  for (const std::string& name : option.Names)
    head += (head.empty() ? "" : ", ") + Bold(name);
  for (const std::string& argument : option.Arguments)
    head += (head.empty() ? "" : " ") + Italic(argument);
  return option.IsOperand() && option.bRepeated ? head + " ..." : head;
}

std::string Item(const std::string& head, const std::string& description) {
  return ".TP\n" + head + "\n" + RoffLine(description);
}

std::string OptionItems(const CLI::App& command) {
  std::string items;
  for (const ListedOption& option : OptionsOf(command))
    items += Item(HeadOf(option), option.Description);
  return items;
}

std::string CommandItems(const CLI::App& app) {
  std::string items;
  for (const CLI::App* command : CommandsOf(app))
    items += Item(Bold(command->get_name()), command->get_description());
  return items;
}

const CLI::App& Command(const CLI::App& app, const std::string& name) {
  for (const CLI::App* command : CommandsOf(app))
    if (command->get_name() == name) return *command;
  throw std::runtime_error("there is no command " + name);
}

/// The command that a page is named after: "ka-tts-check" tells of "check".
const CLI::App& CommandOfPage(const CLI::App& app, const std::string& page) {
  if (page == app.get_name()) return app;
  const std::string prefix = app.get_name() + "-";
  if (!page.starts_with(prefix)) throw std::runtime_error("no command is named like this page");
  return Command(app, page.substr(prefix.size()));
}

void ReplaceVersion(std::string& line, const std::string& version) {
  constexpr std::string_view kVersion = "@VERSION@";
  for (auto at = line.find(kVersion); at != std::string::npos; at = line.find(kVersion))
    line.replace(at, kVersion.size(), version);
}

/// A line of the template as it stands in the page.
std::string Filled(std::string line, const std::string& page, const CLI::App& app) {
  constexpr std::string_view kOptionsOf = "@OPTIONS ";
  if (line == "@OPTIONS@") return OptionItems(CommandOfPage(app, page));
  if (line == "@COMMANDS@") return CommandItems(app);
  if (line.starts_with(kOptionsOf) && line.ends_with('@')) {
    return OptionItems(
        Command(app, line.substr(kOptionsOf.size(), line.size() - kOptionsOf.size() - 1)));
  }
  ReplaceVersion(line, KA_VERSION);
  if (line.starts_with('@')) throw std::runtime_error("unknown placeholder " + line);
  return line + "\n";
}

}  // namespace

std::string ManPage(const std::string& source, const std::string& name, const CLI::App& app) {
  std::string page;
  std::istringstream lines(source);
  for (std::string line; std::getline(lines, line);)
    page += Filled(line, name, app);
  return page;
}

}  // namespace tools
