#include "man/option_list.h"

#include <algorithm>
#include <sstream>

namespace tools {

namespace {

std::vector<std::string> NamesOf(const CLI::Option& option) {
  std::vector<std::string> names;
  for (const std::string& name : option.get_snames())
    names.push_back("-" + name);
  for (const std::string& name : option.get_lnames())
    names.push_back("--" + name);
  return names;
}

/// A type's name is a word for each argument; what CLI11 tells of its range stands behind a colon.
/// Operands are called by their own name.
std::vector<std::string> ArgumentsOf(const CLI::Option& option) {
  if (option.get_positional()) return {option.get_name(true, false)};
  std::vector<std::string> arguments;
  if (option.get_type_size_max() == 0) return arguments;
  const std::string type = option.get_type_name();
  std::istringstream words(type.substr(0, type.find(':')));
  for (std::string word; words >> word;)
    arguments.push_back(word);
  return arguments;
}

ListedOption Listed(const CLI::Option& option) {
  return {NamesOf(option), ArgumentsOf(option), option.get_description(),
          option.get_expected_max() > 1};
}

}  // namespace

std::vector<ListedOption> OptionsOf(const CLI::App& command) {
  std::vector<ListedOption> options;
  for (const CLI::Option* option : command.get_options())
    options.push_back(Listed(*option));
  std::stable_partition(options.begin(), options.end(),
                        [](const ListedOption& option) { return option.IsOperand(); });
  return options;
}

std::vector<const CLI::App*> CommandsOf(const CLI::App& app) {
  std::vector<const CLI::App*> commands = app.get_subcommands([](const CLI::App*) { return true; });
  std::sort(commands.begin(), commands.end(), [](const CLI::App* left, const CLI::App* right) {
    return left->get_name() < right->get_name();
  });
  return commands;
}

}  // namespace tools
