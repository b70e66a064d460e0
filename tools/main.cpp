#include <exception>
#include <string>

#include "app.h"
#include "common/cannot_run.h"
#include "common/station.h"

namespace {

constexpr int kCouldNotRun = 2;

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
  const auto app = tools::MakeApp(context);
  return Run(*app, context, argc, argv);
}
