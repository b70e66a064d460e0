#include "words/words_report.h"

#include <algorithm>
#include <nlohmann/json.hpp>

#include "common/terminal.h"

namespace tools {

namespace {

constexpr Bilingual kSaid = {"gesagt als \"{0}\"", "said \"{0}\""};
constexpr Bilingual kEntry = {"Eintrag {0}", "entry {0}"};
constexpr Bilingual kNoEntry = {"kein Eintrag", "no entry"};
constexpr Bilingual kNoLexicon = {"ohne Lexikon", "without lexicon"};
constexpr Bilingual kTimes = {"{0} mal, zuerst {1}", "{0} times, first {1}"};
constexpr Bilingual kOnce = {"{1}", "{1}"};
constexpr Bilingual kSummary = {"{0} Wörter, davon {1} mit Risiko\n",
                                "{0} words, {1} of them with a risk\n"};
constexpr Bilingual kRewrites = {"  {0}: \"{1}\" wird \"{2}\"\n",
                                 "  {0}: \"{1}\" becomes \"{2}\"\n"};

std::string NameOf(const std::filesystem::path& file, int line, const Report& names) {
  const std::string name = names.DisplayName(file);
  return line == 0 ? name : name + ":" + std::to_string(line);
}

std::string Joined(const std::vector<std::string>& parts) {
  std::string text;
  for (const std::string& part : parts)
    text += (text.empty() ? "" : ", ") + part;
  return text;
}

std::string CoverOf(const SpokenWord& word, const Report& names) {
  const Language lang = names.Lang();
  if (word.Lexicon.empty()) return std::string(kNoLexicon(lang));
  if (word.Entries.empty()) return std::string(kNoEntry(lang)) + " (" + word.Lexicon + ")";
  std::vector<std::string> entries;
  for (const CoveringEntry& entry : word.Entries)
    entries.push_back(NameOf(entry.File, entry.Line, names));
  return Say(kEntry, lang, Joined(entries));
}

std::string WordAsText(const SpokenWord& word, const Report& names, bool colored) {
  const Language lang = names.Lang();
  const Color color = word.Doubt.Points == 0 ? Color::Dim : Color::Yellow;
  std::vector<std::string> notes;
  for (const RiskReason* reason : word.Doubt.Reasons)
    notes.push_back(std::string(reason->Text(lang)) + " " + std::to_string(reason->Points));
  if (word.Said != word.Text) notes.push_back(Say(kSaid, lang, word.Said));
  notes.push_back(CoverOf(word, names));
  notes.push_back(Say(word.Count == 1 ? kOnce : kTimes, lang, word.Count,
                      NameOf(word.First.File, word.First.Line, names)));
  return Painted(fmt::format("{:4}", word.Doubt.Points), color, colored) + "  " + word.Language +
         "  " + Painted(word.Text, Color::Bold, colored) + "  [" + word.Phonemes + "]\n" +
         "          " + Joined(notes) + "\n";
}

nlohmann::ordered_json EntriesAsJson(const SpokenText& text, const Report& names) {
  nlohmann::ordered_json entries = nlohmann::ordered_json::array();
  for (const CoveringEntry& entry : text.Entries) {
    entries.push_back({{"file", names.DisplayName(entry.File)},
                       {"line", entry.Line},
                       {"word", entry.Word},
                       {"replacement", entry.Value}});
  }
  return entries;
}

nlohmann::ordered_json WordAsJson(const SpokenWord& word, const Report& names) {
  nlohmann::ordered_json reasons = nlohmann::ordered_json::array();
  for (const RiskReason* reason : word.Doubt.Reasons)
    reasons.push_back(reason->Id);
  return {{"risk", word.Doubt.Points},
          {"reasons", std::move(reasons)},
          {"language", word.Language},
          {"text", word.Text},
          {"said", word.Said},
          {"phonemes", word.Phonemes},
          {"lexicon", word.Lexicon},
          {"entries", EntriesAsJson(word, names)},
          {"file", names.DisplayName(word.First.File)},
          {"line", word.First.Line},
          {"count", word.Count}};
}

std::size_t CountOfRisky(const std::vector<SpokenWord>& words) {
  return static_cast<std::size_t>(std::count_if(
      words.begin(), words.end(), [](const SpokenWord& word) { return word.Doubt.Points > 0; }));
}

}  // namespace

std::string WordsAsText(const std::vector<SpokenWord>& words, const Report& names, bool colored) {
  std::string text;
  for (const SpokenWord& word : words)
    text += WordAsText(word, names, colored);
  return text + Say(kSummary, names.Lang(), words.size(), CountOfRisky(words));
}

nlohmann::ordered_json WordsAsJson(const std::vector<SpokenWord>& words, const Report& names) {
  nlohmann::ordered_json list = nlohmann::ordered_json::array();
  for (const SpokenWord& word : words)
    list.push_back(WordAsJson(word, names));
  const std::size_t risky = CountOfRisky(words);
  return {{"words", std::move(list)}, {"count", words.size()}, {"risky", risky}};
}

std::string TrialAsText(const SpokenText& text, const Report& names, bool colored) {
  std::string result = Painted(text.Said, Color::Bold, colored) + "  [" + text.Phonemes + "]\n";
  for (const CoveringEntry& entry : text.Entries) {
    result += Say(kRewrites, names.Lang(), NameOf(entry.File, entry.Line, names), entry.Word,
                  entry.Value);
  }
  return result;
}

nlohmann::ordered_json TrialAsJson(const SpokenText& text, const Report& names) {
  return {{"text", text.Text},
          {"said", text.Said},
          {"phonemes", text.Phonemes},
          {"entries", EntriesAsJson(text, names)}};
}

}  // namespace tools
