#include "doctor/finding_groups.h"

#include <algorithm>
#include <nlohmann/json.hpp>

#include "common/terminal.h"

namespace tools {

namespace {

constexpr Bilingual kPageTitle = {"Befunde von `ka-tts doctor`", "Findings of `ka-tts doctor`"};
constexpr Bilingual kPageIntroduction = {
    "Diese Seite gibt `ka-tts doctor --findings --markdown` aus. `ka-tts doctor --explain BEFUND` "
    "zeigt einen Befund allein.\n\n"
    "`ka-tts doctor` sagt, was eine Station stumm macht, ob sie läuft oder nicht. Es ändert "
    "nichts; `ka-tts doctor --repair` behebt, was gefahrlos zu beheben ist, auch während der "
    "Server läuft: Woran er gerade arbeitet, bleibt unberührt und ist kein Befund. Als root "
    "gestartet, sieht und tut es alles mit den Rechten des Servers. Rückgabewert: 0 keine Befunde "
    "(oder alle behoben), 1 Befunde, 2 nicht ausführbar.",
    "This page is printed by `ka-tts doctor --findings --markdown`. `ka-tts doctor --explain "
    "FINDING` shows a single one.\n\n"
    "`ka-tts doctor` says what makes a station mute, whether it runs or not. It changes nothing; "
    "`ka-tts doctor --repair` mends what can be mended safely, also while the server runs: what "
    "that is at work on stays untouched and is no finding. Started as root, it looks at and does "
    "everything with the server's rights. Exit status: 0 no findings (or all mended), 1 findings, "
    "2 could not run."};
constexpr Bilingual kTableHead = {"| Befund | | Bedeutung | `--repair` |\n|---|---|---|---|\n",
                                  "| Finding | | Meaning | `--repair` |\n|---|---|---|---|\n"};
constexpr Bilingual kRepair = {"--repair: ", "--repair: "};
constexpr Bilingual kMetrics = {
    "## Werte für Prometheus\n\n"
    "`ka-tts doctor --prometheus DATEI` schreibt sie in eine Datei, die es durch Umbenennen "
    "ersetzt, wie der Textdatei-Sammler des Node-Exporters es braucht; `-` steht für die "
    "Standardausgabe. `ka_tts_last_block_timestamp_seconds`, "
    "`ka_tts_last_failed_speech_timestamp_seconds` und `ka_tts_last_failure_timestamp_seconds` "
    "behalten ihren Wert aus der alten Datei, bis es einen späteren gibt. `--json` nennt dieselben "
    "Werte unter \"metrics\". Was gerade nicht gesehen werden kann, hat keine Zeile.\n\n"
    "| Name | Bedeutung |\n|---|---|\n",
    "## Figures for Prometheus\n\n"
    "`ka-tts doctor --prometheus FILE` writes them into a file, which it replaces by renaming, as "
    "a node exporter's textfile directory needs it; `-` stands for standard output. "
    "`ka_tts_last_block_timestamp_seconds`, `ka_tts_last_failed_speech_timestamp_seconds` and "
    "`ka_tts_last_failure_timestamp_seconds` keep their value of the old file until there is a "
    "later one. `--json` has the same figures under \"metrics\". What cannot be seen at the moment "
    "has no line.\n\n"
    "| Name | Meaning |\n|---|---|\n"};

}  // namespace

std::vector<FindingGroup> FindingGroups() {
  return {MarkerFindings(), StoreFindings(), PreparedFindings(), DirectoryFindings(),
          EngineFindings(), AudioFindings(), PortFindings(),     ChangeFindings()};
}

std::vector<const Complaint*> Complaints() {
  std::vector<const Complaint*> complaints;
  for (const FindingGroup& group : FindingGroups()) {
    for (const Complaint& complaint : group.Complaints)
      complaints.push_back(&complaint);
  }
  return complaints;
}

const Complaint* FindComplaint(std::string_view id) {
  const auto complaints = Complaints();
  const auto found = std::find_if(complaints.begin(), complaints.end(),
                                  [id](const Complaint* c) { return c->What.Id == id; });
  return found == complaints.end() ? nullptr : *found;
}

std::string FindingList(Language language) {
  std::string list;
  for (const Complaint* complaint : Complaints()) {
    const Rule& rule = complaint->What;
    list += fmt::format("{:<24} {:<8} {}\n", rule.Id, NameOf(rule.Level), rule.Title(language));
  }
  return list;
}

std::string FindingListAsJson(Language language) {
  nlohmann::ordered_json list = nlohmann::ordered_json::array();
  for (const Complaint* complaint : Complaints()) {
    const Rule& rule = complaint->What;
    list.push_back({{"finding", rule.Id},
                    {"severity", NameOf(rule.Level)},
                    {"title", rule.Title(language)},
                    {"explanation", rule.Explanation(language)},
                    {"repair", complaint->Repair(language)}});
  }
  return nlohmann::ordered_json{{"findings", std::move(list)}}.dump(2) + "\n";
}

std::string FindingPage(Language language) {
  std::string page = fmt::format("# {}\n\n{}\n", kPageTitle(language), kPageIntroduction(language));
  for (const FindingGroup& group : FindingGroups()) {
    page += fmt::format("\n## {}\n\n{}", group.Title(language), kTableHead(language));
    for (const Complaint& complaint : group.Complaints) {
      const Rule& rule = complaint.What;
      page +=
          fmt::format("| `{}` | {} | {}. {} | {} |\n", rule.Id, NameOf(rule.Level),
                      rule.Title(language), rule.Explanation(language), complaint.Repair(language));
    }
  }
  return page + "\n" + std::string(kMetrics(language)) + MetricTable();
}

std::string ExplainFinding(const Complaint& complaint, Language language, bool colored) {
  return ExplainRule(complaint.What, language, colored) + "\n" + std::string(kRepair(language)) +
         std::string(complaint.Repair(language)) + "\n";
}

}  // namespace tools
