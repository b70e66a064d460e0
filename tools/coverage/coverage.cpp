#include "coverage/coverage.h"

#include <cmath>
#include <stdexcept>
#include <utility>

#include "coverage/block_intake.h"
#include "kaCaseCheck.h"

namespace tools {

namespace {

constexpr Bilingual kUnusable = {"so öffnet der Server keinen Port; \"ka-tts check\" sagt, warum",
                                 "with this the server opens no port; \"ka-tts check\" tells why"};

/// Has the server's builder read the document.
/// \throws CannotRun if it refuses
void ReadDocument(CkaSpeechbuilder& builder, const std::string& document) {
  bool complete = false;
  try {
    Silently([&] { complete = builder.Initialize(document); });
  } catch (const std::out_of_range&) {
    complete = false;  // a section is missing: the server ends
  }
  if (!complete) throw CannotRun(kUnusable, document);
}

CkaSpeechbuilder& Prepared(CkaSpeechbuilder& builder, const std::string& document) {
  ReadDocument(builder, document);
  return builder;
}

std::size_t Index(int i) {
  return static_cast<std::size_t>(i);
}

}  // namespace

double Share::Percent() const {
  if (Reached == Total) return 100;
  return std::floor(1000 * static_cast<double>(Reached) / static_cast<double>(Total)) / 10;
}

Coverage::Coverage(const Station& station)
    : document_(station.Document()),
      items_(station, document_, Prepared(builder_, station.Document())) {}

void Coverage::Add(const std::filesystem::path& file) {
  const std::string message = Read(file);
  ++blocks_;
  CkaRBLDataContent content;
  BlockIntake intake;
  Reached reached;
  Silently([&] {
    intake = TakeIn(builder_, message, content);
    if (intake.Refusal == nullptr && !Follow(content, intake.Rows, reached)) {
      intake.Refusal = &kGivenUp;
    }
  });
  if (intake.Refusal != nullptr) {
    refused_.push_back({file, intake.Refusal});
    return;
  }
  rows_ += Index(intake.Rows);
  for (const std::size_t item : reached)
    ++items_.All[item].Hits;
}

Share Coverage::ShareOf(ItemKind kind) const {
  Share share;
  for (const CoverageItem& item : items_.All) {
    if (item.Kind != kind) continue;
    ++share.Total;
    if (item.Hits > 0) ++share.Reached;
  }
  return share;
}

Share Coverage::Total() const {
  Share total;
  for (const ItemKind kind : kItemKinds) {
    if (kind == ItemKind::LexiconEntry) continue;
    const Share share = ShareOf(kind);
    total.Reached += share.Reached;
    total.Total += share.Total;
  }
  return total;
}

/// False if the server gives the block up on the way: then nothing of it is played.
bool Coverage::Follow(CkaRBLDataContent& content, int rows, Reached& reached) {
  try {
    for (int row = 0; row < rows; ++row)
      FollowRow(content, row, reached);
    return true;
  } catch (const std::out_of_range&) {
    return false;
  }
}

void Coverage::FollowRow(CkaRBLDataContent& content, int row, Reached& reached) {
  CkaCaseCheck cases;
  cases.Initialize(&builder_.CaseData, &content, &builder_.CaseIndex);
  cases.CheckForRow(row);
  for (std::size_t i = 0; i < items_.Cases.size(); ++i)
    reached.push_back(items_.Cases[i] + (cases.SimpleCases[i].bIsTrue ? 0 : 1));
  for (std::size_t i = 0; i < items_.Attributes.size(); ++i) {
    const std::string name = builder_.RBLDataFormat.GetAttributeNameAt(static_cast<int>(i));
    if (!content.ViewValue(row, name).empty()) reached.push_back(items_.Attributes[i]);
  }
  for (int language = 0; language < builder_.SpeechFormat.GetLanguageCount(); ++language) {
    std::vector<kaReport> reports;
    kaCompositionTrace trace;
    builder_.ComposeText(content, cases, row, language, reports, &trace);
    if (trace.bExists) FollowText(language, trace, reached);
  }
}

void Coverage::FollowText(int language, const kaCompositionTrace& trace, Reached& reached) const {
  const std::size_t index = Index(trace.Index);
  reached.push_back(items_.Announcements[Index(language)][index]);
  const auto& phrases = builder_.SpeechGen.AnnouncementAt(language, trace.Index).Phrases;
  for (const kaPhraseTrace& phrase : trace.Phrases) {
    // Of an element that the language does not have nothing is said.
    if (!phrase.bSpoken || phrase.Trait == CkaSpeechFormat::_KASerror) continue;
    reached.push_back(items_.Phrases[Index(language)][index][phrase.Number]);
    FollowPhrase(language, phrases[phrase.Number], phrase, reached);
  }
}

void Coverage::FollowPhrase(int language, const CkaSpeechGen::kaTTSPhrase& phrase,
                            const kaPhraseTrace& trace, Reached& reached) const {
  const std::string name = builder_.SpeechGen.GetLanguageName(language);
  if (const std::size_t* element = items_.FindElement(name, phrase.RefId)) {
    reached.push_back(*element);
  }
  const UsedLexicon* lexicon = items_.FindLexicon(trace.LexiconPath);
  if (lexicon == nullptr) return;
  for (const kaReplacement& replacement : trace.Replacements)
    reached.push_back(lexicon->Entries.at(replacement.Entry));
}

}  // namespace tools
