#include "coverage/coverage_command.h"

#include <filesystem>
#include <fstream>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "common/block_files.h"
#include "coverage/coverage_page.h"

namespace tools {

namespace {

namespace fs = std::filesystem;

constexpr Bilingual kDescription = {
    "zeigt, was vom Ansagedokument eine Menge von Blöcken erreicht",
    "shows what of the announcement document a set of blocks reaches"};
constexpr Bilingual kMissing = {"zählt auf, was kein Block erreicht, und was es erreichen würde",
                                "lists what no block reaches, and what would"};
constexpr Bilingual kHtml = {"schreibt den Quelltext mit Marken als eine Seite",
                             "writes the source with marks as one page"};
constexpr Bilingual kFailUnder = {
    "endet mit 1, wenn vom Dokument (ohne Lexika) weniger als dieser Anteil erreicht wird",
    "ends with 1 if less than this share of the document (without lexica) is reached"};
constexpr Bilingual kNotWritten = {"kann nicht geschrieben werden", "cannot be written"};
constexpr Bilingual kTooLittle = {"erreicht: {0} %, verlangt: {1} %\n",
                                  "reached: {0} %, required: {1} %\n"};

struct CoverageOptions {
  std::vector<fs::path> Blocks;
  std::string Html;
  bool bMissing = false;
  double FailUnder = 0;
};

void WritePage(const fs::path& file, const std::string& page) {
  std::ofstream stream(file, std::ios::binary);
  stream << page << std::flush;
  if (!stream) throw CannotRun(kNotWritten, file);
}

void PrintReport(const CoverageReport& report, const CoverageOptions& options,
                 const Context& context) {
  if (context.bJson) {
    using nlohmann::ordered_json;
    Print(report.Json().dump(2, ' ', false, ordered_json::error_handler_t::replace) + "\n");
    return;
  }
  Print(report.Summary(context.UsesColor()));
  if (options.bMissing) Print("\n" + report.Missing(context.UsesColor()));
}

void RunCoverage(const CoverageOptions& options, Context& context) {
  const Station station(context.StationDir);
  Coverage coverage(station);
  for (const fs::path& file : BlockFiles(options.Blocks))
    coverage.Add(file);
  const CoverageReport report(coverage, station.Root(), context.Lang);
  if (!options.Html.empty()) WritePage(options.Html, CoveragePage(report));
  PrintReport(report, options, context);
  const Share total = coverage.Total();
  if (100 * static_cast<double>(total.Reached) >=
      options.FailUnder * static_cast<double>(total.Total)) {
    return;
  }
  PrintError("ka-tts coverage: " +
             Say(kTooLittle, context.Lang, report.Percent(total), options.FailUnder));
  context.Status = 1;
}

}  // namespace

CLI::App* AddCoverageCommand(CLI::App& app, Context& context) {
  CLI::App* command = app.add_subcommand("coverage", std::string(kDescription(context.Lang)));
  AddCommonOptions(*command, context);
  const auto options = std::make_shared<CoverageOptions>();
  command->add_option("BLOCK", options->Blocks, std::string(kBlockFiles(context.Lang)))
      ->required()
      ->type_name("");
  command->add_flag("--missing", options->bMissing, std::string(kMissing(context.Lang)));
  command->add_option("--html", options->Html, std::string(kHtml(context.Lang)))->type_name("FILE");
  command->add_option("--fail-under", options->FailUnder, std::string(kFailUnder(context.Lang)))
      ->check(CLI::Range(0.0, 100.0).description(""))
      ->type_name("PERCENT");
  command->callback([options, &context] { RunCoverage(*options, context); });
  return command;
}

}  // namespace tools
