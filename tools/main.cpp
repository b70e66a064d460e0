#include <CLI/CLI.hpp>
#include <exception>
#include <string>

#include "check/check_command.h"
#include "common/cannot_run.h"
#include "common/command.h"
#include "common/station.h"
#include "coverage/coverage_command.h"
#include "doctor/doctor_command.h"
#include "preview/preview_command.h"
#include "test/test_command.h"
#include "words/words_command.h"

namespace {

using tools::Bilingual;

constexpr int kCouldNotRun = 2;
constexpr Bilingual kDescription = {"Werkzeuge für Autoren von Ansagen",
                                    "tools for authors of announcements"};
constexpr Bilingual kHelp = {"zeigt diese Hilfe", "shows this help"};
constexpr Bilingual kVersion = {"zeigt die Version", "shows the version"};

void AddCommands(CLI::App& app, tools::Context& context) {
  tools::AddCheckCommand(app, context);
  tools::AddCoverageCommand(app, context);
  tools::AddDoctorCommand(app, context);
  tools::AddPreviewCommand(app, context);
  tools::AddTestCommand(app, context);
  tools::AddWordsCommand(app, context);
}

/// Runs the command line. CLI11 has a status for each kind of bad usage; here they are one.
int Run(CLI::App& app, tools::Context& context, int argc, char** argv) {
  try {
    app.parse(argc, argv);
    return context.Status;
  } catch (const CLI::ParseError& end) {
    return app.exit(end) == 0 ? 0 : kCouldNotRun;
  } catch (const tools::CannotRun& failure) {
    tools::PrintError("ka-tts: " + failure.Message(context.Lang) + "\n");
  } catch (const std::exception& failure) {
    tools::PrintError("ka-tts: " + std::string(failure.what()) + "\n");
  }
  return kCouldNotRun;
}

}  // namespace

int main(int argc, char** argv) {
  tools::Context context;
  context.Lang = tools::RequestedLanguage(argc, argv);
  context.StationDir = tools::ProgramDirectory();

  CLI::App app(std::string(kDescription(context.Lang)), "ka-tts");
  app.set_help_flag("-h,--help", std::string(kHelp(context.Lang)));
  app.set_version_flag("--version", "ka-tts " KA_VERSION, std::string(kVersion(context.Lang)));
  app.require_subcommand(1);
  AddCommands(app, context);
  return Run(app, context, argc, argv);
}
