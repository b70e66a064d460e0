#ifndef KA_TOOLS_COMMAND_H
#define KA_TOOLS_COMMAND_H

#include <CLI/CLI.hpp>
#include <filesystem>
#include <map>
#include <string>
#include <string_view>

#include "common/language.h"
#include "common/terminal.h"

namespace tools {

/// What all subcommands share: their common options and how the run ends.
struct Context {
  Language Lang = Language::English;
  ColorMode Color = ColorMode::Auto;
  bool bJson = false;
  std::filesystem::path StationDir;
  int Status = 0;  ///< exit status: 0 fine, 1 findings, 2 could not run

  /// Whether what is printed on standard output is coloured.
  bool UsesColor() const;
};

/// The words that --lang takes.
std::map<std::string, Language> LanguageNames();
/// The words that --color takes.
std::map<std::string, ColorMode> ColorModeNames();

/// Adds --station, --lang, --json and --color.
void AddCommonOptions(CLI::App& command, Context& context);

/// The language of the command line, else of the environment. Looked for before the command line is
/// understood, since the help texts depend on it.
Language RequestedLanguage(int argc, const char* const* argv);

/// Writes `text` to standard output as it stands.
void Print(std::string_view text);
/// Writes `text` to standard error as it stands.
void PrintError(std::string_view text);

}  // namespace tools

#endif
