#include <algorithm>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "doctor/engine_commands.h"
#include "doctor/finding_groups.h"
#include "doctor/speech_state.h"
#include "kaFile.h"

namespace tools {

namespace {

constexpr Bilingual kRemakes = {
    "lässt sie von der Sprachmaschine neu erzeugen und tauscht sie aus, wenn das gelingt",
    "has the engine make it anew and replaces it if that succeeds"};
constexpr Bilingual kRemade = {"neu erzeugt", "made anew"};
constexpr Bilingual kRestart = {"die Datei löschen und den Server neu starten",
                                "delete the file and restart the server"};

constexpr Complaint kMissing = {
    .What = {.Id = "prepared-missing",
             .Level = Severity::Error,
             .Title = {"Eine vorbereitete Phrase fehlt", "A prepared phrase is missing"},
             .Problem = {"die Datei der Phrase gibt es nicht", "the phrase's file does not exist"},
             .Effect = {"Er erzeugt sie erst beim nächsten Start; bis dahin fehlt sie in jeder "
                        "Ansage.",
                        "It makes it at its next start only; until then it is missing in every "
                        "announcement."},
             .Advice = {"den Server neu starten", "restart the server"},
             .Explanation = {"Nur ein Befund, solange der Server läuft: Beim Start erzeugt er "
                             "fehlende Phrasen selbst.",
                             "A finding only while the server runs: at its start it makes missing "
                             "phrases itself."}},
    .Repair = kRemakes};

constexpr Complaint kFaulty = {
    .What = {.Id = "prepared-faulty",
             .Level = Severity::Error,
             .Title = {"Eine vorbereitete Phrase ist leer, abgeschnitten oder keine .wav-Datei",
                       "A prepared phrase is empty, cut off or no .wav file"},
             .Problem = {"die Datei ist {0}", "the file is {0}"},
             .Effect = {"Er erzeugt sie nicht neu, weil es die Datei gibt: Die Phrase bleibt stumm "
                        "oder unvollständig.",
                        "It does not make it anew, since the file exists: the phrase stays silent "
                        "or incomplete."},
             .Advice = kRestart,
             .Explanation = {"So bleibt eine Datei zurück, wenn die Sprachmaschine beim Schreiben "
                             "starb oder das Dateisystem voll war.",
                             "A file stays behind like this when the engine died while it wrote or "
                             "the file system was full."}},
    .Repair = kRemakes};

constexpr Complaint kOutdated = {
    .What = {.Id = "prepared-outdated",
             .Level = Severity::Error,
             .Title = {"Eine vorbereitete Phrase ist älter als ihr Text",
                       "A prepared phrase is older than its text"},
             .Problem = {"die Datei ist älter als der Text daneben",
                         "the file is older than the text beside it"},
             .Effect = {"Er vergleicht nur den Text, nicht die Zeit, und spielt die alte Aufnahme "
                        "weiter.",
                        "It compares only the text, not the time, and goes on playing the old "
                        "recording."},
             .Advice = kRestart,
             .Explanation = {"Der Server schreibt erst den Text und lässt dann die Phrase "
                             "erzeugen. Scheitert das, so ändert kein weiterer Start daran etwas.",
                             "The server writes the text first and has the phrase made then. If "
                             "that fails, no further start changes anything."}},
    .Repair = kRemakes};

constexpr Complaint kComplaints[] = {kMissing, kFaulty, kOutdated};

const Complaint& ComplaintOf(SpeechState state) {
  if (state == SpeechState::Missing) return kMissing;
  return state == SpeechState::Outdated ? kOutdated : kFaulty;
}

/// The prepared phrases of a language: its own and the shared ones, each once.
std::set<std::string> PhrasesOf(const Element& references, const std::string& language) {
  std::set<std::string> ids;
  for (const Element* element : references.ChildrenCalled("Language")) {
    const std::string name = element->Value("name");
    if (name != language && name != "all") continue;
    for (const Element* phrase : element->ChildrenCalled("Element"))
      if (phrase->Value("trait") == "steady") ids.insert(phrase->Value("id"));
  }
  return ids;
}

std::vector<Speech> Phrases(const Examination& examination) {
  std::vector<Speech> phrases;
  const std::string directory = examination.Directory("steadyspeeches");
  if (directory.empty()) return phrases;
  for (const std::string& language : examination.SteadyLanguages()) {
    for (const std::string& id : PhrasesOf(*examination.Document()->References(), language)) {
      const std::string base = directory + "/" + language + "/" + id;
      phrases.push_back(LookAt(base + ".txt", base + ".wav"));
    }
  }
  return phrases;
}

/// Has the phrase made in a temporary directory first: as long as the engine fails, the old one is
/// better than none.
bool Remake(const Examination& examination, const Speech& phrase) {
  EngineCommands engine(examination);
  const EngineRun run = engine.Save(CkaFile().GetFileAsString(phrase.TextFile));
  const std::optional<std::string> speech = engine.Speech();
  if (run.bTimedOut || !speech || LookAt(phrase.TextFile, phrase.WaveFile) != phrase) return false;
  return AskAs(examination.ServerUser(), [&] { return ReplaceFile(phrase.WaveFile, *speech); });
}

void Report(const Examination& examination, const Speech& phrase, Diagnosis& diagnosis) {
  Remedy cure = {kRemade, nullptr};
  if (phrase.Text) cure.Apply = [&examination, phrase] { return Remake(examination, phrase); };
  diagnosis.Add(ComplaintOf(phrase.State).What, phrase.WaveFile, cure,
                InWords(phrase.State)(diagnosis.Lang()));
}

/// Whether the server will mend it at its next start by itself.
bool IsLeftToStart(const Examination& examination, const Speech& phrase) {
  const bool willBeMade = !phrase.Text || phrase.State == SpeechState::Missing;
  return !examination.IsRunning() && willBeMade;
}

void Check(const Examination& examination, Diagnosis& diagnosis) {
  const std::vector<Speech> phrases = Phrases(examination);
  std::vector<Speech> faulty = phrases;
  std::erase_if(faulty, [&](const Speech& phrase) {
    return phrase.State == SpeechState::Good || IsLeftToStart(examination, phrase);
  });
  faulty = LeftAlone(std::move(faulty));
  for (const Speech& phrase : faulty)
    Report(examination, phrase, diagnosis);
  diagnosis.Figures().Set("ka_tts_prepared_speeches", static_cast<double>(phrases.size()));
  diagnosis.Figures().Set("ka_tts_prepared_faulty_speeches", static_cast<double>(faulty.size()));
}

}  // namespace

FindingGroup PreparedFindings() {
  return {{"Vorbereitete Phrasen", "Prepared phrases"}, kComplaints, Check};
}

}  // namespace tools
