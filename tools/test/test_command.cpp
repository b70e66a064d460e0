#include "test/test_command.h"

#include <algorithm>
#include <memory>
#include <string>

#include "common/cannot_run.h"
#include "common/station.h"
#include "kaFile.h"
#include "preview/preview_json.h"
#include "test/test_report.h"
#include "test/text_test.h"

namespace tools {

namespace {

namespace fs = std::filesystem;
using Outcome = BlockTest::Outcome;

constexpr Bilingual kDescription = {"vergleicht die Texte von Datenblöcken mit den erwarteten",
                                    "compares the texts of data blocks with the expected ones"};
constexpr Bilingual kDirectory = {
    "Verzeichnis mit NAME.xml und NAME.expected (sonst: blocks neben dem Ansagedokument)",
    "directory with NAME.xml and NAME.expected (default: blocks beside the document)"};
constexpr Bilingual kAccept = {"übernimmt die jetzigen Texte als die erwarteten",
                               "takes the present texts as the expected ones"};
constexpr Bilingual kJUnit = {"schreibt das Ergebnis auch in JUnits Form",
                              "writes the result in JUnit's form, too"};
constexpr Bilingual kAccepted = {"übernommen: {0}\n", "accepted: {0}\n"};
constexpr Bilingual kNotWritten = {"kann nicht geschrieben werden", "cannot be written"};

struct TestOptions {
  std::string Directory;
  bool bAccept = false;
  std::string JUnit;
};

bool IsAcceptable(const BlockTest& test) {
  return test.Result == Outcome::Different || test.Result == Outcome::New;
}

void AcceptAll(const TextTests& tests, std::vector<BlockTest>& results, const Context& context) {
  for (BlockTest& test : results) {
    if (!IsAcceptable(test)) continue;
    tests.Accept(test);
    test.Result = Outcome::Passed;
    test.Differences.clear();
    if (!context.bJson) Print(Say(kAccepted, context.Lang, test.Name));
  }
}

void RunTests(const TestOptions& options, Context& context) {
  const Station station(context.StationDir);
  Preview preview(station);
  const fs::path directory = options.Directory.empty()
                                 ? fs::path(station.Document()).parent_path() / "blocks"
                                 : fs::path(options.Directory);
  TextTests tests(directory, preview, context.Lang);
  std::vector<BlockTest> results = tests.Run();
  if (options.bAccept) AcceptAll(tests, results, context);
  Print(context.bJson ? Dump(TestJson(results))
                      : TestText(results, context.Lang, context.UsesColor()));
  if (!options.JUnit.empty() &&
      !CkaFile().WriteToFile(options.JUnit.c_str(), TestJUnit(results, context.Lang), true)) {
    throw CannotRun(kNotWritten, options.JUnit);
  }
  const bool passed = std::all_of(results.begin(), results.end(), [](const BlockTest& test) {
    return test.Result == Outcome::Passed;
  });
  context.Status = passed ? 0 : 1;
}

}  // namespace

CLI::App* AddTestCommand(CLI::App& app, Context& context) {
  CLI::App* command = app.add_subcommand("test", std::string(kDescription(context.Lang)));
  AddCommonOptions(*command, context);
  const auto options = std::make_shared<TestOptions>();
  command->add_option("DIR", options->Directory, std::string(kDirectory(context.Lang)))
      ->type_name("");
  command->add_flag("--accept", options->bAccept, std::string(kAccept(context.Lang)));
  command->add_option("--junit", options->JUnit, std::string(kJUnit(context.Lang)))
      ->type_name("FILE");
  command->callback([options, &context] { RunTests(*options, context); });
  return command;
}

}  // namespace tools
