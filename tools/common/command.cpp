#include "common/command.h"

#include <unistd.h>

#include <cstdio>

namespace tools {

namespace {

constexpr Bilingual kStation = {"Verzeichnis der Station (sonst: das des Programms)",
                                "directory of the station (default: the program's own)"};
constexpr Bilingual kLang = {"Sprache der Meldungen: de oder en", "language of messages: de or en"};
constexpr Bilingual kJson = {"Ausgabe als JSON", "output as JSON"};
constexpr Bilingual kColor = {"Farbe: auto, always oder never", "colour: auto, always or never"};

}  // namespace

bool Context::UsesColor() const {
  return tools::UsesColor(Color, STDOUT_FILENO);
}

std::map<std::string, Language> LanguageNames() {
  return {{"de", Language::German}, {"en", Language::English}};
}

std::map<std::string, ColorMode> ColorModeNames() {
  return {{"auto", ColorMode::Auto}, {"always", ColorMode::Always}, {"never", ColorMode::Never}};
}

void AddCommonOptions(CLI::App& command, Context& context) {
  const Language lang = context.Lang;
  command.add_option("--station", context.StationDir, std::string(kStation(lang)))
      ->type_name("DIR");
  command.add_option("--lang", context.Lang, std::string(kLang(lang)))
      ->transform(CLI::CheckedTransformer(LanguageNames()).description(""))
      ->type_name("LANG");
  command.add_option("--color", context.Color, std::string(kColor(lang)))
      ->transform(CLI::CheckedTransformer(ColorModeNames()).description(""))
      ->type_name("WHEN");
  command.add_flag("--json", context.bJson, std::string(kJson(lang)));
}

Language RequestedLanguage(int argc, const char* const* argv) {
  for (int i = 1; i < argc; ++i) {
    const std::string_view argument = argv[i];
    const std::string_view next = i + 1 < argc ? argv[i + 1] : "";
    if (argument == "--lang=de" || (argument == "--lang" && next == "de")) return Language::German;
    if (argument == "--lang=en" || (argument == "--lang" && next == "en")) return Language::English;
  }
  return EnvironmentLanguage();
}

void Print(std::string_view text) {
  static_cast<void>(std::fwrite(text.data(), 1, text.size(), stdout));
}

void PrintError(std::string_view text) {
  static_cast<void>(std::fwrite(text.data(), 1, text.size(), stderr));
}

}  // namespace tools
