#include "doctor/doctor_report.h"

#include <algorithm>
#include <ctime>
#include <nlohmann/json.hpp>

#include "common/terminal.h"
#include "doctor/finding_groups.h"

namespace tools {

namespace {

constexpr Bilingual kRuns = {"Der Server läuft seit {0} s (Prozess {1}).\n",
                             "The server has been running for {0} s (process {1}).\n"};
constexpr Bilingual kRunsNot = {"Der Server läuft nicht.\n", "The server is not running.\n"};
constexpr Bilingual kEffect = {"Server: ", "server: "};
constexpr Bilingual kAdvice = {"Abhilfe: ", "remedy: "};
constexpr Bilingual kMended = {"behoben: ", "mended: "};
constexpr Bilingual kMendable = {"--repair behebt das", "--repair mends this"};
constexpr Bilingual kFailed = {"konnte nicht behoben werden", "could not be mended"};
constexpr Bilingual kSummary = {"{0} Fehler, {1} Warnungen, {2} Hinweise; {3} behoben\n",
                                "{0} errors, {1} warnings, {2} hints; {3} mended\n"};

Color ColorOf(const Ailment& ailment) {
  if (ailment.State == Outcome::Mended) return Color::Green;
  if (ailment.What.Level == Severity::Hint) return Color::Blue;
  return ailment.What.Level == Severity::Error ? Color::Red : Color::Yellow;
}

std::string StateText(const Ailment& ailment, Language language, bool colored) {
  switch (ailment.State) {
    case Outcome::Mended:
      return Painted(kMended(language), Color::Green, colored) +
             std::string(ailment.Cure.Done(language));
    case Outcome::Mendable:
      return std::string(kMendable(language));
    case Outcome::Failed:
      return Painted(kFailed(language), Color::Red, colored);
    case Outcome::Open:
      break;
  }
  return "";
}

std::string AilmentText(const Ailment& ailment, const Report& names, bool colored) {
  const Finding& finding = ailment.What;
  const Language language = names.Lang();
  std::string text = Painted(names.DisplayName(finding.Where.File) + ":", Color::Bold, colored) +
                     " " + Painted(NameOf(finding.Level), ColorOf(ailment), colored) + " " +
                     finding.Rule + ": " + finding.Problem + "\n";
  text += "    " + Painted(kEffect(language), Color::Dim, colored) + finding.Effect + "\n";
  text += "    " + Painted(kAdvice(language), Color::Dim, colored) + finding.Advice + "\n";
  const std::string state = StateText(ailment, language, colored);
  return state.empty() ? text : text + "    " + state + "\n";
}

std::string ServerText(const Examination& examination, Language language) {
  if (!examination.IsRunning()) return std::string(kRunsNot(language));
  const Process& server = examination.Servers().front();
  return Say(kRuns, language, static_cast<long>(AgeOf(StartOf(server))), server.Id);
}

nlohmann::ordered_json ServerJson(const Examination& examination) {
  nlohmann::ordered_json processes = nlohmann::ordered_json::array();
  for (const Process& server : examination.Servers())
    processes.push_back(server.Id);
  return {{"running", examination.IsRunning()}, {"processes", std::move(processes)}};
}

nlohmann::ordered_json FindingsJson(const Diagnosis& diagnosis, const Report& names) {
  nlohmann::ordered_json findings = nlohmann::ordered_json::array();
  for (const Ailment& ailment : diagnosis.Ailments()) {
    const Finding& finding = ailment.What;
    findings.push_back({{"file", names.DisplayName(finding.Where.File)},
                        {"severity", NameOf(finding.Level)},
                        {"finding", finding.Rule},
                        {"problem", finding.Problem},
                        {"effect", finding.Effect},
                        {"advice", finding.Advice},
                        {"repair", NameOf(ailment.State)}});
  }
  return findings;
}

nlohmann::ordered_json FiguresJson(const Metrics& figures) {
  nlohmann::ordered_json list = nlohmann::ordered_json::array();
  for (const MetricSample& sample : figures.Samples()) {
    nlohmann::ordered_json labels = nlohmann::ordered_json::object();
    for (const auto& [name, value] : sample.Labels)
      labels[std::string(name)] = value;
    list.push_back(
        {{"name", sample.Family->Name}, {"labels", std::move(labels)}, {"value", sample.Value}});
  }
  return list;
}

void CountFindings(Diagnosis& diagnosis) {
  Metrics& figures = diagnosis.Figures();
  for (const Severity severity : {Severity::Error, Severity::Warning, Severity::Hint}) {
    figures.Set("ka_tts_doctor_findings", {{"severity", std::string(NameOf(severity))}},
                static_cast<double>(diagnosis.Count(severity)));
  }
  figures.Set("ka_tts_doctor_mended", static_cast<double>(diagnosis.CountMended()));
  for (const Complaint* complaint : Complaints()) {
    const std::string id(complaint->What.Id);
    const auto count =
        std::count_if(diagnosis.Ailments().begin(), diagnosis.Ailments().end(),
                      [&id](const Ailment& ailment) { return ailment.What.Rule == id; });
    figures.Set("ka_tts_doctor_finding", {{"finding", id}}, static_cast<double>(count));
  }
}

}  // namespace

std::string DiagnosisText(const Examination& examination, const Diagnosis& diagnosis,
                          bool colored) {
  const Language language = diagnosis.Lang();
  const Report names(language, examination.Station().Root());
  std::string text = ServerText(examination, language);
  for (const Ailment& ailment : diagnosis.Ailments())
    text += AilmentText(ailment, names, colored);
  return text + Say(kSummary, language, diagnosis.Count(Severity::Error),
                    diagnosis.Count(Severity::Warning), diagnosis.Count(Severity::Hint),
                    diagnosis.CountMended());
}

std::string DiagnosisJson(const Examination& examination, const Diagnosis& diagnosis) {
  const Report names(diagnosis.Lang(), examination.Station().Root());
  const nlohmann::ordered_json json = {{"server", ServerJson(examination)},
                                       {"findings", FindingsJson(diagnosis, names)},
                                       {"errors", diagnosis.Count(Severity::Error)},
                                       {"warnings", diagnosis.Count(Severity::Warning)},
                                       {"hints", diagnosis.Count(Severity::Hint)},
                                       {"mended", diagnosis.CountMended()},
                                       {"metrics", FiguresJson(diagnosis.Figures())}};
  // What the engine printed may be anything.
  return json.dump(2, ' ', false, nlohmann::ordered_json::error_handler_t::replace) + "\n";
}

void CompleteFigures(Diagnosis& diagnosis, const std::string& former, double runSeconds) {
  const auto now = static_cast<double>(std::time(nullptr));
  Metrics& figures = diagnosis.Figures();
  const bool hasFailed =
      std::any_of(diagnosis.Ailments().begin(), diagnosis.Ailments().end(),
                  [](const Ailment& ailment) { return ailment.What.Level != Severity::Hint; });
  figures.Set("ka_tts_last_failure_timestamp_seconds", hasFailed ? now : 0);
  for (const char* family :
       {"ka_tts_last_block_timestamp_seconds", "ka_tts_last_failed_speech_timestamp_seconds",
        "ka_tts_last_failure_timestamp_seconds"}) {
    figures.Set(family, std::max(figures.Value(family), ValueInText(former, family)));
  }
  CountFindings(diagnosis);
  figures.Set("ka_tts_doctor_run_timestamp_seconds", now);
  figures.Set("ka_tts_doctor_run_duration_seconds", runSeconds);
}

}  // namespace tools
