#include "man/bash_completion.h"

#include <fmt/format.h>

#include <string_view>

#include "man/completion.h"

namespace tools {

namespace {

constexpr std::string_view kHead =
    R"(# Completion of ka-tts for bash, made from the program's own options.
)";

/// What does not depend on the options. bash cuts words at "="; here they are put together again,
/// so that "--lang=de" is read like "--lang de".
constexpr std::string_view kFunctions = R"bash(
# _ka_tts_offer WHAT CURRENT: offers words, or names of files, that go on as CURRENT begins.
_ka_tts_offer() {
  case $1 in
    @files) compopt -o filenames 2>/dev/null; mapfile -t COMPREPLY < <(compgen -f -- "$2") ;;
    @directories) compopt -o filenames 2>/dev/null; mapfile -t COMPREPLY < <(compgen -d -- "$2") ;;
    *) mapfile -t COMPREPLY < <(compgen -W "$1" -- "$2") ;;
  esac
}

_ka_tts() {
  local words=() word previous='' i
  for ((i = 1; i <= COMP_CWORD; i++)); do
    word=${COMP_WORDS[i]}
    if [[ $word == = && $previous == --* ]]; then
      if ((i == COMP_CWORD)); then words+=(''); fi
    else
      words+=("$word")
    fi
    previous=$word
  done

  local current=${words[-1]} command='' operands_only='' waiting=0 arguments=()
  unset 'words[-1]'
  for word in "${words[@]}"; do
    if ((waiting)); then
      waiting=$((waiting - 1))
    elif [[ -z $operands_only && $word == -- ]]; then
      operands_only=yes
    elif [[ -z $operands_only && $word == -* ]]; then
      _ka_tts_arguments "$command $word"
      waiting=${#arguments[@]}
    elif [[ -z $command ]]; then
      command=$word
    fi
  done

  COMPREPLY=()
  if ((waiting)); then
    _ka_tts_offer "${arguments[${#arguments[@]} - waiting]}" "$current"
  elif [[ -z $operands_only && $current == -* ]]; then
    _ka_tts_offer "$(_ka_tts_options "$command")" "$current"
  elif [[ -z $command ]]; then
    _ka_tts_offer "$(_ka_tts_commands)" "$current"
  else
    _ka_tts_arguments "$command"
    _ka_tts_offer "${arguments[0]-}" "$current"
  fi
}
complete -F _ka_tts ka-tts
)bash";

std::string Offer(const Completion& completion) {
  switch (completion.Offers) {
    case Completion::Kind::Words:
      return Joined(completion.Words);
    case Completion::Kind::Files:
      return "@files";
    case Completion::Kind::Directories:
      return "@directories";
    case Completion::Kind::Nothing:
      break;
  }
  return "";
}

/// A function that prints a text for each word it may be called with.
std::string PrintingCase(const std::string& pattern, const std::string& text) {
  return "    " + pattern + ") echo " + InShellQuotes(text) + " ;;\n";
}

std::string OptionNames(const CLI::App& command) {
  std::vector<std::string> names;
  for (const ListedOption& option : OptionsOf(command))
    names.insert(names.end(), option.Names.begin(), option.Names.end());
  return Joined(names);
}

std::string CommandsFunction(const CLI::App& app) {
  std::vector<std::string> names;
  for (const CLI::App* command : CommandsOf(app))
    names.push_back(command->get_name());
  return "\n_ka_tts_commands() { echo " + InShellQuotes(Joined(names)) + "; }\n";
}

std::string OptionsFunction(const CLI::App& app) {
  std::string text =
      "\n# _ka_tts_options COMMAND: its options.\n_ka_tts_options() {\n  case $1 in\n";
  text += PrintingCase("''", OptionNames(app));
  for (const CLI::App* command : CommandsOf(app))
    text += PrintingCase(command->get_name(), OptionNames(*command));
  return text + "  esac\n}\n";
}

/// The arguments of each option, below "COMMAND OPTION", and the operands, below "COMMAND".
std::string ArgumentCases(const CLI::App& command) {
  std::string cases;
  for (const ListedOption& option : OptionsOf(command)) {
    if (option.Arguments.empty()) continue;
    std::string offers;
    for (const std::string& argument : option.Arguments)
      offers += (offers.empty() ? "" : " ") + InShellQuotes(Offer(CompletionOf(option, argument)));
    const std::string key = option.IsOperand() ? "" : " " + option.Key();
    cases +=
        fmt::format("    {}) arguments=({}) ;;\n", InShellQuotes(command.get_name() + key), offers);
  }
  return cases;
}

std::string ArgumentsFunction(const CLI::App& app) {
  std::string text =
      "\n# _ka_tts_arguments \"COMMAND OPTION\": sets `arguments` to what is offered for each of "
      "its\n"
      "# arguments; without an option, for the operands.\n"
      "_ka_tts_arguments() {\n  arguments=()\n  case $1 in\n";
  for (const CLI::App* command : CommandsOf(app))
    text += ArgumentCases(*command);
  return text + "  esac\n}\n";
}

}  // namespace

std::string BashCompletion(const CLI::App& app) {
  return std::string(kHead) + CommandsFunction(app) + OptionsFunction(app) +
         ArgumentsFunction(app) + std::string(kFunctions);
}

}  // namespace tools
