#include "doctor/doctor_command.h"

#include <chrono>
#include <memory>
#include <string>

#include "common/cannot_run.h"
#include "doctor/doctor_report.h"
#include "doctor/file_state.h"
#include "doctor/finding_groups.h"

namespace tools {

namespace {

constexpr Bilingual kDescription = {
    "findet, was eine laufende oder stehende Station stumm macht, und behebt es",
    "finds what makes a running or stopped station mute, and mends it"};
constexpr Bilingual kRepair = {"behebt, was gefahrlos zu beheben ist",
                               "mends what can be mended safely"};
constexpr Bilingual kPrometheus = {
    "schreibt Werte für Prometheus in diese Datei; - ist die Standardausgabe",
    "writes figures for Prometheus into this file; - is standard output"};
constexpr Bilingual kProbe = {
    "probiert die Sprachmaschine aus, ohne dass etwas zu hören ist (Vorgabe)",
    "tries the engine out without being heard (default)"};
constexpr Bilingual kNoProbe = {"startet die Sprachmaschine nicht", "does not start the engine"};
constexpr Bilingual kTimeout = {"Sekunden, die die Sprachmaschine brauchen darf (Vorgabe: 10)",
                                "seconds that the engine may take (default: 10)"};
constexpr Bilingual kExplain = {"erklärt einen Befund", "explains a finding"};
constexpr Bilingual kFindings = {"zählt alle Befunde auf", "lists all findings"};
constexpr Bilingual kMarkdown = {"mit --findings: als Seite in Markdown",
                                 "with --findings: as a page in Markdown"};
constexpr Bilingual kUnknown = {
    "ka-tts doctor: Den Befund \"{0}\" gibt es nicht; --findings zählt alle auf.\n",
    "ka-tts doctor: there is no finding \"{0}\"; --findings lists all.\n"};
constexpr Bilingual kNotWritten = {"kann nicht geschrieben werden", "cannot be written"};

constexpr const char* kStandardOutput = "-";

struct CommandOptions {
  DoctorOptions Doctor;
  bool bRepair = false;
  std::string Prometheus;
  std::string Explain;
  bool bFindings = false;
  bool bMarkdown = false;
};

void Explain(const std::string& id, Context& context) {
  const Complaint* complaint = FindComplaint(id);
  if (complaint == nullptr) {
    PrintError(Say(kUnknown, context.Lang, id));
    context.Status = 2;
    return;
  }
  Print(ExplainFinding(*complaint, context.Lang, context.UsesColor()));
}

void ListFindings(bool markdown, const Context& context) {
  if (markdown) {
    Print(FindingPage(context.Lang));
  } else {
    Print(context.bJson ? FindingListAsJson(context.Lang) : FindingList(context.Lang));
  }
}

/// What a former run wrote, "" for none.
std::string FormerFigures(const std::string& file) {
  return file.empty() || file == kStandardOutput || !StateOf(file) ? "" : Read(file);
}

void PrintFigures(const Diagnosis& diagnosis, const std::string& file) {
  const std::string text = diagnosis.Figures().Text();
  if (file == kStandardOutput) {
    Print(text);
  } else if (!file.empty() && !ReplaceFile(file, text)) {
    throw CannotRun(kNotWritten, file);
  }
}

void RunDoctor(const CommandOptions& options, Context& context) {
  using Clock = std::chrono::steady_clock;
  const auto start = Clock::now();
  const Station station(context.StationDir);
  const std::string former = FormerFigures(options.Prometheus);
  const Examination examination(station, options.Doctor);
  Diagnosis diagnosis(context.Lang);
  for (const FindingGroup& group : FindingGroups())
    group.Check(examination, diagnosis);
  if (options.bRepair) diagnosis.Mend();
  CompleteFigures(diagnosis, former, std::chrono::duration<double>(Clock::now() - start).count());
  PrintFigures(diagnosis, options.Prometheus);
  if (options.Prometheus != kStandardOutput) {
    Print(context.bJson ? DiagnosisJson(examination, diagnosis)
                        : DiagnosisText(examination, diagnosis, context.UsesColor()));
  }
  context.Status = diagnosis.Status();
}

void Run(const CommandOptions& options, Context& context) {
  if (!options.Explain.empty()) {
    Explain(options.Explain, context);
  } else if (options.bFindings) {
    ListFindings(options.bMarkdown, context);
  } else {
    RunDoctor(options, context);
  }
}

void AddOptions(CLI::App& command, CommandOptions& options, Language language) {
  const auto text = [language](const Bilingual& b) { return std::string(b(language)); };
  command.add_flag("--repair", options.bRepair, text(kRepair));
  command.add_option("--prometheus", options.Prometheus, text(kPrometheus))->type_name("FILE");
  CLI::Option* probe = command.add_flag("--probe", options.Doctor.bProbe, text(kProbe));
  command
      .add_flag_callback(
          "--no-probe", [&options] { options.Doctor.bProbe = false; }, text(kNoProbe))
      ->excludes(probe);
  command.add_option("--timeout", options.Doctor.TimeLimit, text(kTimeout))
      ->check(CLI::Range(0.1, 3600.0).description(""))
      ->type_name("SECONDS");
  command.add_option("--explain", options.Explain, text(kExplain))->type_name("FINDING");
  CLI::Option* findings = command.add_flag("--findings", options.bFindings, text(kFindings));
  command.add_flag("--markdown", options.bMarkdown, text(kMarkdown))->needs(findings);
}

}  // namespace

CLI::App* AddDoctorCommand(CLI::App& app, Context& context) {
  CLI::App* command = app.add_subcommand("doctor", std::string(kDescription(context.Lang)));
  AddCommonOptions(*command, context);
  const auto options = std::make_shared<CommandOptions>();
  AddOptions(*command, *options, context.Lang);
  command->callback([options, &context] { Run(*options, context); });
  return command;
}

}  // namespace tools
