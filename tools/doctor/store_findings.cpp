#include <algorithm>
#include <filesystem>
#include <string>
#include <utility>
#include <vector>

#include "doctor/finding_groups.h"
#include "doctor/speech_state.h"

namespace tools {

namespace {

namespace fs = std::filesystem;

constexpr Bilingual kRemoves = {"entfernt den Text, so dass der nächste Datenblock beide erneuert",
                                "removes the text, so that the next data block renews both"};
constexpr Bilingual kRemoved = {"Text entfernt; der nächste Datenblock erneuert beide",
                                "text removed; the next data block renews both"};
constexpr Bilingual kAdvice = {"den Text \"{0}\" entfernen", "remove the text \"{0}\""};

constexpr Complaint kMissing = {
    .What = {.Id = "speech-missing",
             .Level = Severity::Error,
             .Title = {"Zu einem Text gibt es keine Ansage", "A text has no announcement"},
             .Problem = {"zum Text \"{0}\" gibt es diese Datei nicht",
                         "there is no such file for the text \"{0}\""},
             .Effect = {"Er hält den Text für gesprochen und versucht es mit denselben Daten nicht "
                        "noch einmal: Die Ansage bleibt stumm.",
                        "It takes the text for spoken and does not try again with the same data: "
                        "the announcement stays silent."},
             .Advice = kAdvice,
             .Explanation =
                 {"Der Server schreibt den Text, bevor er die Sprachmaschine startet, und startet "
                  "sie nur für einen anderen Text wieder. Scheitert sie, so fehlt die Ansage.",
                  "The server writes the text before it starts the engine, and starts it again for "
                  "another text only. If the engine fails, the announcement is missing."}},
    .Repair = kRemoves};

constexpr Complaint kFaulty = {
    .What = {.Id = "speech-faulty",
             .Level = Severity::Error,
             .Title = {"Eine Ansage ist leer, abgeschnitten oder keine .wav-Datei",
                       "An announcement is empty, cut off or no .wav file"},
             .Problem = {"die Datei ist {1}", "the file is {1}"},
             .Effect = {"Er spielt sie, soweit es geht, und erzeugt sie mit denselben Daten nicht "
                        "neu.",
                        "It plays it as far as it goes and does not make it anew with the same "
                        "data."},
             .Advice = kAdvice,
             .Explanation = {"So bleibt eine Datei zurück, wenn die Sprachmaschine beim Schreiben "
                             "starb oder das Dateisystem voll war.",
                             "A file stays behind like this when the engine died while it wrote or "
                             "the file system was full."}},
    .Repair = kRemoves};

constexpr Complaint kOutdated = {
    .What = {.Id = "speech-outdated",
             .Level = Severity::Error,
             .Title = {"Eine Ansage ist älter als ihr Text",
                       "An announcement is older than its text"},
             .Problem = {"die Datei ist älter als der Text \"{0}\"",
                         "the file is older than the text \"{0}\""},
             .Effect = {"Er spielt die alte Ansage, als wäre sie die neue.",
                        "It plays the old announcement as if it were the new one."},
             .Advice = kAdvice,
             .Explanation = {"Die Sprachmaschine ist am neuen Text gescheitert, und die Ansage des "
                             "alten blieb liegen.",
                             "The engine failed with the new text, and the announcement of the old "
                             "one was left."}},
    .Repair = kRemoves};

constexpr Complaint kComplaints[] = {kMissing, kFaulty, kOutdated};

/// The name of a text: a language and the number of a row.
bool IsTextName(const std::string& name) {
  return !name.starts_with('.') && name.back() >= '0' && name.back() <= '9';
}

std::vector<Speech> SpeechesOf(const std::string& store) {
  std::vector<Speech> speeches;
  std::error_code gone;
  for (fs::directory_iterator entry(store, gone), end; !gone && entry != end;
       entry.increment(gone)) {
    std::error_code vanished;
    const std::string path = entry->path().string();
    if (IsTextName(entry->path().filename().string()) && entry->is_regular_file(vanished))
      speeches.push_back(LookAt(path, path + ".wav"));
  }
  return speeches;
}

const Complaint& ComplaintOf(SpeechState state) {
  if (state == SpeechState::Missing) return kMissing;
  return state == SpeechState::Outdated ? kOutdated : kFaulty;
}

void Report(const Examination& examination, const Speech& speech, Diagnosis& diagnosis) {
  const auto remove = [&examination, speech] {
    return AskAs(examination.ServerUser(),
                 [&] { return RemoveUnchanged(speech.TextFile, *speech.Text); });
  };
  diagnosis.Add(ComplaintOf(speech.State).What, speech.WaveFile, {kRemoved, remove},
                speech.TextFile, InWords(speech.State)(diagnosis.Lang()));
}

std::size_t CountSpeeches(const std::string& directory) {
  std::size_t count = 0;
  std::error_code gone;
  for (fs::directory_iterator entry(directory, gone), end; !gone && entry != end;
       entry.increment(gone)) {
    if (entry->path().extension() == ".wav") ++count;
  }
  return count;
}

/// When the latest speech file came into the play directory: with each data block, all are copied
/// anew.
double LatestSpeech(const std::string& directory) {
  double latest = 0;
  std::error_code gone;
  for (fs::directory_iterator entry(directory, gone), end; !gone && entry != end;
       entry.increment(gone)) {
    const std::optional<FileState> state = StateOf(entry->path().string());
    if (entry->path().extension() == ".wav" && state)
      latest = std::max(latest, SecondsOf(state->Modified));
  }
  return latest;
}

void Check(const Examination& examination, Diagnosis& diagnosis) {
  const std::vector<Speech> speeches = SpeechesOf(examination.StoreDirectory());
  std::vector<Speech> faulty = speeches;
  std::erase_if(faulty, [](const Speech& s) { return !s.Text || s.State == SpeechState::Good; });
  faulty = LeftAlone(std::move(faulty));
  double latestFailure = 0;
  for (const Speech& speech : faulty) {
    Report(examination, speech, diagnosis);
    latestFailure = std::max(latestFailure, SecondsOf(speech.Text->Modified));
  }
  Metrics& figures = diagnosis.Figures();
  const std::string play = examination.PlayDirectory();
  figures.Set("ka_tts_store_texts", static_cast<double>(speeches.size()));
  figures.Set("ka_tts_store_faulty_texts", static_cast<double>(faulty.size()));
  figures.Set("ka_tts_play_speeches", static_cast<double>(CountSpeeches(play)));
  figures.Set("ka_tts_last_block_timestamp_seconds", LatestSpeech(play));
  figures.Set("ka_tts_last_failed_speech_timestamp_seconds", latestFailure);
}

}  // namespace

FindingGroup StoreFindings() {
  return {{"Ansagen", "Announcements"}, kComplaints, Check};
}

}  // namespace tools
