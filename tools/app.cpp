#include "app.h"

#include <string>

#include "check/check_command.h"
#include "client/client_commands.h"
#include "coverage/coverage_command.h"
#include "doctor/doctor_command.h"
#include "level/level_command.h"
#include "preview/preview_command.h"
#include "test/test_command.h"
#include "words/words_command.h"

namespace tools {

namespace {

constexpr Bilingual kDescription = {"Werkzeuge für Ansagen und Ansageserver",
                                    "tools for announcements and their server"};
constexpr Bilingual kHelp = {"zeigt diese Hilfe", "shows this help"};
constexpr Bilingual kVersion = {"zeigt die Version", "shows the version"};
constexpr Bilingual kOptions = {"Optionen", "Options"};
constexpr Bilingual kCommands = {"Befehle", "Commands"};

/// A word that CLI11 itself puts into the help, and what stands there instead.
struct Label {
  const char* Word;
  Bilingual Shown;
};
constexpr Label kLabels[] = {
    {"Usage", {"Aufruf", "Usage"}},          {"OPTIONS", {"OPTIONEN", "OPTIONS"}},
    {"SUBCOMMAND", {"BEFEHL", "COMMAND"}},   {"Positionals", {"Argumente", "Arguments"}},
    {"REQUIRED", {"(nötig)", "(required)"}}, {"Needs", {"nur mit", "only with"}},
    {"Excludes", {"nicht mit", "not with"}},
};

void AddCommands(CLI::App& app, Context& context) {
  AddCheckCommand(app, context);
  AddCoverageCommand(app, context);
  AddDoctorCommand(app, context);
  AddLevelCommand(app, context);
  AddPreviewCommand(app, context);
  AddTestCommand(app, context);
  AddWordsCommand(app, context);
  AddClientCommands(app, context);
}

}  // namespace

std::unique_ptr<CLI::App> MakeApp(Context& context) {
  const Language lang = context.Lang;
  auto app = std::make_unique<CLI::App>(std::string(kDescription(lang)), "ka-tts");
  for (const Label& label : kLabels)
    app->get_formatter()->label(label.Word, std::string(label.Shown(lang)));
  app->option_defaults()->group(std::string(kOptions(lang)));
  app->set_help_flag("-h,--help", std::string(kHelp(lang)));
  app->set_version_flag("--version", "ka-tts " KA_VERSION, std::string(kVersion(lang)));
  app->require_subcommand(1);
  AddCommands(*app, context);
  for (CLI::App* command : app->get_subcommands({})) {
    command->group(std::string(kCommands(lang)));
    command->get_help_ptr()->group(std::string(kOptions(lang)));
  }
  return app;
}

}  // namespace tools
