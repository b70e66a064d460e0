#include <algorithm>
#include <string>
#include <utility>
#include <vector>

#include "common/cannot_run.h"
#include "doctor/engine_commands.h"
#include "doctor/finding_groups.h"

namespace tools {

namespace {

constexpr const char* kProbeWord = "Test";

constexpr Complaint kFails = {
    .What = {.Id = "engine-fails",
             .Level = Severity::Error,
             .Title = {"Die Sprachmaschine scheitert an einem Probewort",
                       "The engine fails with a probe word"},
             .Problem = {"der Befehl {0} endete mit Status {1}{2}: {3}",
                         "the command {0} ended with status {1}{2}: {3}"},
             .Effect = {"Er sieht den Status nicht an und meldet nichts: Nichts wird gesprochen.",
                        "It does not look at the status and reports nothing: nothing is spoken."},
             .Advice = {"den Befehl von Hand ausführen, als Benutzer des Servers",
                        "run the command by hand, as the server's user"},
             .Explanation =
                 {"Beide Befehle der Sprachmaschine laufen genau wie vom Server gestartet, mit "
                  "seinem Benutzer, seiner Umgebung und seinem Arbeitsverzeichnis, das Speichern "
                  "für jede Sprache mit deren generalprefix und in ein temporäres Verzeichnis, das "
                  "Sprechen auf ALSAs Gerät \"null\". Zu hören ist nichts, solange die "
                  "Sprachmaschine über ALSAs Standardgerät oder aplay spielt; für jede andere gibt "
                  "es `--no-probe`. Gespeichert gilt als gescheitert, wenn keine gute .wav-Datei "
                  "entstand.",
                  "Both commands of the engine run exactly as the server starts them, with its "
                  "user, environment and working directory, saving for each language with its "
                  "generalprefix and into a temporary directory, speaking to ALSA's device "
                  "\"null\". Nothing is heard as long as the engine plays through ALSA's default "
                  "device or aplay; for any other there is `--no-probe`. Saving counts as failed "
                  "if there is no good .wav file afterwards."}},
    .Repair = {"nichts", "nothing"}};

constexpr Complaint kSlow = {
    .What = {.Id = "engine-slow",
             .Level = Severity::Error,
             .Title = {"Die Sprachmaschine braucht zu lange", "The engine takes too long"},
             .Problem = {"der Befehl {0} war nach {1} s nicht fertig",
                         "the command {0} was not done after {1} s"},
             .Effect = {"Er wartet ohne Grenze auf sie; so lange nimmt der Anschluss nichts an.",
                        "It waits for it without a limit; as long, the port takes nothing."},
             .Advice = {"Last und Sprachmaschine prüfen; --timeout nennt die Grenze",
                        "look at the load and the engine; --timeout sets the limit"},
             .Explanation = {"Wie `engine-fails`; nach der Zeit von `--timeout` wird die Probe "
                             "abgebrochen.",
                             "As `engine-fails`; after the time of `--timeout` the probe is "
                             "broken off."}},
    .Repair = {"nichts", "nothing"}};

constexpr Complaint kNotProbed = {
    .What = {.Id = "engine-not-probed",
             .Level = Severity::Hint,
             .Title = {"Die Sprachmaschine konnte nicht ausprobiert werden",
                       "The engine could not be tried out"},
             .Problem = {"hier kann kein temporäres Verzeichnis angelegt werden",
                         "no temporary directory can be made here"},
             .Effect = {"Ob er sprechen kann, ist nicht bekannt.",
                        "Whether it can speak is not known."},
             .Advice = {"TMPDIR auf ein schreibbares Verzeichnis setzen, oder --no-probe",
                        "set TMPDIR to a directory that can be written, or --no-probe"},
             .Explanation = {"Die Probe braucht ein Verzeichnis für ihre Dateien.",
                             "The probe needs a directory for its files."}},
    .Repair = {"nichts", "nothing"}};

constexpr Complaint kComplaints[] = {kFails, kSlow, kNotProbed};

constexpr Bilingual kNoSpeech = {" und ohne gute .wav-Datei", " and without a good .wav file"};
constexpr Bilingual kNothingPrinted = {"ohne Ausgabe", "it printed nothing"};

/// The languages with what their texts begin with.
std::vector<std::pair<std::string, std::string>> Prefixes(const Examination& examination) {
  std::vector<std::pair<std::string, std::string>> prefixes;
  const Document* document = examination.Document();
  const Element* assembly = document == nullptr ? nullptr : document->Assembly();
  if (assembly == nullptr) return {{"", ""}};
  for (const Element* language : assembly->ChildrenCalled("Language"))
    prefixes.emplace_back(language->Value("name"), language->Value("generalprefix"));
  return prefixes;
}

class EngineProbe {
 public:
  EngineProbe(const Examination& examination, Diagnosis& diagnosis)
      : examination_(examination), diagnosis_(diagnosis), engine_(examination) {}

  void Run() {
    for (const auto& [language, prefix] : Prefixes(examination_))
      ProbeSave(language, prefix + " " + kProbeWord);
    ProbeSpeak();
  }

 private:
  void ProbeSave(const std::string& language, const std::string& text) {
    EngineRun run = engine_.Save(text);
    if (!run.bTimedOut && !engine_.Speech()) run = engine_.Save(text);
    const bool isGood = !run.bTimedOut && engine_.Speech();
    const std::string name = engine_.SaveKey() + (language.empty() ? "" : " (" + language + ")");
    Note({{"command", "save"}, {"language", language}}, isGood, run);
    if (!isGood) Report(name, run, kNoSpeech(diagnosis_.Lang()));
  }

  /// Once more after a failure: "!stop" ends every player on the machine, a probe's too.
  void ProbeSpeak() {
    EngineRun run = engine_.Speak(kProbeWord);
    if (!run.bTimedOut && run.Status != 0) run = engine_.Speak(kProbeWord);
    const bool isGood = !run.bTimedOut && run.Status == 0;
    Note({{"command", "speak"}, {"language", ""}}, isGood, run);
    if (!isGood) Report(engine_.SpeakKey(), run, "");
  }

  void Note(const MetricLabels& labels, bool isGood, const EngineRun& run) {
    diagnosis_.Figures().Set("ka_tts_engine_probe_success", labels, isGood ? 1 : 0);
    diagnosis_.Figures().Set("ka_tts_engine_probe_duration_seconds", labels, run.Seconds);
  }

  void Report(const std::string& command, const EngineRun& run, std::string_view remark) {
    const std::string file = examination_.Station().Config();
    if (run.bTimedOut) {
      diagnosis_.Add(kSlow.What, file, {}, command, examination_.Options().TimeLimit);
      return;
    }
    const std::string line =
        run.LastLine.empty() ? std::string(kNothingPrinted(diagnosis_.Lang())) : run.LastLine;
    diagnosis_.Add(kFails.What, file, {}, command, run.Status, remark, line);
  }

  const Examination& examination_;
  Diagnosis& diagnosis_;
  EngineCommands engine_;
};

void Check(const Examination& examination, Diagnosis& diagnosis) {
  if (!examination.Options().bProbe) return;
  try {
    EngineProbe(examination, diagnosis).Run();
  } catch (const CannotRun& failure) {
    diagnosis.Add(kNotProbed.What, failure.File(), {});
  }
}

}  // namespace

FindingGroup EngineFindings() {
  return {{"Die Sprachmaschine", "The speech engine"}, kComplaints, Check};
}

}  // namespace tools
