#include "man/zsh_completion.h"

#include <fmt/format.h>

#include <string_view>

#include "man/completion.h"

namespace tools {

namespace {

constexpr std::string_view kHead = R"(#compdef ka-tts
# Completion of ka-tts for zsh, made from the program's own options.
)";

constexpr std::string_view kDispatch = R"(
case ${LC_ALL:-${LC_MESSAGES:-$LANG}} in
  de*) _ka_tts_german "$@" ;;
  *) _ka_tts_english "$@" ;;
esac
)";

constexpr std::string_view kBeginOfFunction = R"(() {
  local curcontext=$curcontext state
  local -a line
  local -A opt_args
  _arguments -C)";

/// `text` with a backslash before each of the characters `special`.
std::string Escaped(std::string_view text, std::string_view special) {
  std::string escaped;
  for (const char c : text) {
    if (special.find(c) != std::string_view::npos) escaped += '\\';
    escaped += c;
  }
  return escaped;
}

std::string ActionFor(const Completion& completion) {
  switch (completion.Offers) {
    case Completion::Kind::Words:
      return "(" + Joined(completion.Words) + ")";
    case Completion::Kind::Files:
      return "_files";
    case Completion::Kind::Directories:
      return "_files -/";
    case Completion::Kind::Nothing:
      break;
  }
  return " ";
}

/// ":MESSAGE:ACTION" for each argument.
std::string ArgumentItems(const ListedOption& option) {
  std::string items;
  for (const std::string& argument : option.Arguments)
    items += ":" + Escaped(argument, ":\\") + ":" + ActionFor(CompletionOf(option, argument));
  return items;
}

/// An option with all its names: one excludes the others.
std::string OptionItems(const ListedOption& option) {
  std::string items;
  const std::string arguments =
      "[" + Escaped(option.Description, "[]\\") + "]" + ArgumentItems(option);
  const std::string before = option.bRepeated          ? "*"
                             : option.Names.size() > 1 ? "(" + Joined(option.Names) + ")"
                                                       : "";
  for (const std::string& name : option.Names) {
    const std::string inlineArgument =
        name.starts_with("--") && !option.Arguments.empty() ? "=" : "";
    items += " \\\n    " +
             InShellQuotes(fmt::format("{}{}{}{}", before, name, inlineArgument, arguments));
  }
  return items;
}

std::string OperandItem(const ListedOption& operand) {
  return " \\\n    " + InShellQuotes((operand.bRepeated ? "*" : "") + ArgumentItems(operand));
}

std::string ItemsOf(const CLI::App& command) {
  std::string items;
  for (const ListedOption& option : OptionsOf(command))
    items += option.IsOperand() ? OperandItem(option) : OptionItems(option);
  return items;
}

std::string CommandDescriptions(const CLI::App& app) {
  std::string text;
  for (const CLI::App* command : CommandsOf(app)) {
    text +=
        "        " + InShellQuotes(command->get_name() + ":" + command->get_description()) + "\n";
  }
  return text;
}

std::string CommandCases(const CLI::App& app) {
  std::string text;
  for (const CLI::App* command : CommandsOf(app))
    text += "        " + command->get_name() + ") _arguments -S" + ItemsOf(*command) + " ;;\n";
  return text;
}

std::string Function(const std::string& name, const CLI::App& app) {
  return "\n" + name + std::string(kBeginOfFunction) + ItemsOf(app) +
         " \\\n    '1:command:->command' '*::argument:->argument' && return\n"
         "  case $state in\n    command)\n      local -a commands=(\n" +
         CommandDescriptions(app) +
         "      )\n      _describe -t commands 'ka-tts' commands\n      ;;\n"
         "    argument)\n      curcontext=${curcontext%:*}-$line[1]:\n      case $line[1] in\n" +
         CommandCases(app) + "      esac\n      ;;\n  esac\n}\n";
}

}  // namespace

std::string ZshCompletion(const CLI::App& german, const CLI::App& english) {
  return std::string(kHead) + Function("_ka_tts_german", german) +
         Function("_ka_tts_english", english) + std::string(kDispatch);
}

}  // namespace tools
