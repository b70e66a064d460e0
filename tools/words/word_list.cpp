#include "words/word_list.h"

#include <algorithm>
#include <compare>
#include <set>
#include <utility>
#include <variant>

#include "TagParser.h"
#include "common/cannot_run.h"
#include "common/source_map.h"
#include "kaRBLDataContent.h"
#include "words/speaker.h"

namespace tools {

namespace {

namespace fs = std::filesystem;

constexpr Bilingual kNoBlock = {"ist kein Datenblock", "is no data block"};
constexpr std::string_view kBlanks = " \t\r\n";

/// Begin and end of a word in a text.
using Span = std::pair<std::size_t, std::size_t>;

std::vector<Span> SplitAtBlanks(const std::string& text) {
  std::vector<Span> spans;
  for (std::size_t begin = text.find_first_not_of(kBlanks); begin != std::string::npos;) {
    const std::size_t end = std::min(text.find_first_of(kBlanks, begin), text.size());
    spans.emplace_back(begin, end);
    begin = text.find_first_not_of(kBlanks, end);
  }
  return spans;
}

std::string TextOf(const std::string& text, const Span& span) {
  return text.substr(span.first, span.second - span.first);
}

/// Words whose blank an entry has replaced, too, are one.
std::vector<Span> WordsOf(const std::string& text, const Rewriting& rewriting) {
  std::vector<Span> words;
  for (const Span& span : SplitAtBlanks(text)) {
    if (!words.empty() && rewriting.Row[span.first - 1]) {
      words.back().second = span.second;
    } else {
      words.push_back(span);
    }
  }
  return words;
}

std::string WithoutOuterBlanks(const std::string& text) {
  const std::size_t first = text.find_first_not_of(kBlanks);
  if (first == std::string::npos) return "";
  return text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

std::string SaidOf(const Rewriting& rewriting, const Span& span) {
  std::string said;
  for (std::size_t i = 0; i < rewriting.Said.size(); ++i) {
    const std::size_t origin = rewriting.Origin[i];
    if (origin >= span.first && origin < span.second) said += rewriting.Said[i];
  }
  return WithoutOuterBlanks(said);
}

/// What no entry has replaced, piece by piece.
std::vector<std::string> UncoveredOf(const std::string& text, const Rewriting& rewriting,
                                     const Span& span) {
  std::vector<std::string> pieces;
  for (std::size_t i = span.first; i < span.second; ++i) {
    if (rewriting.Row[i]) continue;
    if (pieces.empty() || rewriting.Row[i - 1]) pieces.emplace_back();
    pieces.back() += text[i];
  }
  return pieces;
}

std::vector<CoveringEntry> EntriesOf(const LexiconFile* lexicon, const Rewriting& rewriting,
                                     const Span& span) {
  std::vector<CoveringEntry> entries;
  std::set<std::size_t> seen;
  for (std::size_t i = span.first; i < span.second; ++i) {
    const std::optional<std::size_t>& index = rewriting.Row[i];
    if (!index || !seen.insert(*index).second) continue;
    const LexiconRow& row = lexicon->Rows()[*index];
    entries.push_back({lexicon->File(), row.Line, row.Entry.var, row.Entry.value});
  }
  return entries;
}

/// The server takes a name of one character for none.
bool IsLexicon(const std::string& name) {
  return name.size() > 1;
}

/// The line of an attribute of the n-th row of a block.
int LineOf(const SourceMap& map, int row, const std::string& attribute) {
  int number = 0;
  for (const ElementSource& element : map.Elements()) {
    if (element.Name != "row" || number++ != row) continue;
    const auto found =
        std::find_if(element.Attributes.begin(), element.Attributes.end(),
                     [&attribute](const AttributeSource& one) { return one.Name == attribute; });
    return found == element.Attributes.end() ? element.At.Line : found->ValueAt.Line;
  }
  return 0;
}

std::vector<engine::SpeechPiece> SpeechOf(const std::string& text, const std::string& voice) {
  std::vector<engine::SpeechPiece> speech;
  for (const engine::Piece& piece : engine::TagParser::Parse(text, voice).pieces) {
    if (const auto* spoken = std::get_if<engine::SpeechPiece>(&piece)) speech.push_back(*spoken);
  }
  return speech;
}

}  // namespace

/// An attribute of a row that a language speaks by a lexicon.
struct Wording::SpokenAttribute {
  std::string Name;
  std::string Language;
  std::string Lexicon;

  auto operator<=>(const SpokenAttribute&) const = default;
};

/// A value of a block.
struct Wording::Value {
  std::string Text;
  std::string Language;
  std::string Lexicon;
  Place At;
};

Wording::Wording(const Station& station)
    : station_(station),
      document_(station.Document()),
      readers_(station.Document()),
      defaultVoice_(DefaultVoice(station)) {}

std::vector<std::string> Wording::Languages() const {
  std::vector<std::string> names;
  for (const CkaSpeechGen::kaTTSLanguage& language : readers_.Announcements.Languages)
    names.push_back(language.Name);
  return names;
}

std::vector<std::string> Wording::LexicaOf(const std::string& language) const {
  std::set<std::string> names;
  for (const KaLangRef& ref : readers_.References.LangRefs) {
    if (ref.LangName == language) names.insert(ref.Lexica.begin(), ref.Lexica.end());
  }
  for (const SpokenAttribute& attribute : SpokenAttributes()) {
    if (attribute.Language == language && IsLexicon(attribute.Lexicon)) {
      names.insert(attribute.Lexicon);
    }
  }
  return {names.begin(), names.end()};
}

int Wording::IndexOf(const std::string& language) const {
  const std::vector<std::string> names = Languages();
  return static_cast<int>(std::find(names.begin(), names.end(), language) - names.begin());
}

std::string Wording::GeneralPrefix(const std::string& language) const {
  const int index = IndexOf(language);
  return index < readers_.Announcements.GetLanguageCount()
             ? readers_.Announcements.GetGeneralPrefix(index)
             : "";
}

std::string Wording::VoiceOf(const std::string& language) const {
  const std::vector<engine::SpeechPiece> speech =
      SpeechOf(GeneralPrefix(language) + " x", defaultVoice_);
  return speech.back().settings.voice;
}

const LexiconFile* Wording::Lexicon(const std::string& language, const std::string& name) {
  if (!IsLexicon(name)) return nullptr;
  const fs::path path = station_.Resolve("./lexidata/" + language + "/" + name);
  const auto [entry, isNew] = lexica_.try_emplace(path);
  if (isNew && fs::is_regular_file(path)) entry->second.emplace(path);
  return entry->second ? &*entry->second : nullptr;
}

// ---- Values of blocks ----

/// Several phrases may say one attribute by one lexicon: that counts once.
std::set<Wording::SpokenAttribute> Wording::SpokenAttributes() const {
  std::set<SpokenAttribute> attributes;
  const auto add = [&](const CkaSpeechGen::kaTTSPhrase& phrase, const std::string& language) {
    const int index = readers_.Format.FindAssignedAttribute(phrase.RefId);
    if (index < 0 ||
        readers_.References.GetElementTrait(language, phrase.RefId) != CkaSpeechFormat::_KAStemp) {
      return;
    }
    attributes.insert({readers_.Format.GetAttributeNameAt(index), language, phrase.Lexicon});
  };
  for (const CkaSpeechGen::kaTTSLanguage& language : readers_.Announcements.Languages) {
    for (const CkaSpeechGen::kaTTSAnnouncement& announcement : language.Announcements) {
      for (const CkaSpeechGen::kaTTSPhrase& phrase : announcement.Phrases)
        add(phrase, language.Name);
    }
  }
  return attributes;
}

std::vector<Wording::Value> Wording::ValuesOf(const fs::path& block) const {
  std::string data = Read(block);
  const SourceMap map(data);
  CkaRBLDataContent content;
  bool isBlock = false;
  Silently([&] { isBlock = content.Initialize(data, false, true) && content.ReadContent(); });
  if (!isBlock) throw CannotRun(kNoBlock, block);
  const int rows = std::min(content.GetRowCount(), static_cast<int>(readers_.Format.GetMaxRows()));
  std::vector<Value> values;
  for (const SpokenAttribute& attribute : SpokenAttributes()) {
    for (int row = 0; row < rows; ++row) {
      values.push_back({content.GetValue(row, attribute.Name),
                        attribute.Language,
                        attribute.Lexicon,
                        {block, LineOf(map, row, attribute.Name), 0}});
    }
  }
  return values;
}

void Wording::AddValue(const Value& value) {
  const LexiconFile* lexicon = Lexicon(value.Language, value.Lexicon);
  const Rewriting rewriting =
      lexicon == nullptr ? Unchanged(value.Text) : lexicon->Rewrite(value.Text);
  for (const Span& span : WordsOf(value.Text, rewriting)) {
    SpokenWord word;
    word.Text = TextOf(value.Text, span);
    word.Said = SaidOf(rewriting, span);
    word.Entries = EntriesOf(lexicon, rewriting, span);
    word.Language = value.Language;
    word.Lexicon = lexicon == nullptr ? "" : value.Lexicon;
    word.First = value.At;
    for (const std::string& piece : UncoveredOf(value.Text, rewriting, span))
      word.Doubt.Add(RiskOf(piece, value.Language, false));
    AddWord(std::move(word), VoiceOf(value.Language));
  }
}

// ---- Fixed words ----

void Wording::AddDocument() {
  for (const Element* announcement : document_.Announcements()) {
    const std::string language = announcement->Parent->Value("name");
    const auto addPhrase = [&](const Element& speech) {
      if (readers_.References.GetElementTrait(language, speech.Value("id")) !=
          CkaSpeechFormat::_KAStemp) {
        return;
      }
      AddFixed(speech.Value("prefix"), language, speech.ValueAt("prefix").Line);
      AddFixed(speech.Value("suffix"), language, speech.ValueAt("suffix").Line);
    };
    for (const Element* child : announcement->Children) {
      // The last node of an announcement is not read.
      if (child->bLastNode) continue;
      if (child->Name == "Speech") addPhrase(*child);
      for (const Element* speech : child->ChildrenCalled("Speech"))
        addPhrase(*speech);
    }
  }
  if (document_.References() == nullptr) return;
  for (const Element* owner : document_.References()->ChildrenCalled("Language")) {
    for (const Element* element : owner->ChildrenCalled("Element")) {
      if (element->Value("trait") != "steady") continue;
      for (const std::string& language : Languages()) {
        if (owner->Value("name") != language && owner->Value("name") != "all") continue;
        AddFixed(element->Value("text"), language, element->ValueAt("text").Line);
      }
    }
  }
}

void Wording::AddFixed(const std::string& text, const std::string& language, int line) {
  for (const engine::SpeechPiece& piece : SpeechOf(text, VoiceOf(language))) {
    const std::vector<Span> spans = SplitAtBlanks(piece.text);
    for (std::size_t i = 0; i < spans.size(); ++i) {
      const std::string next = i + 1 < spans.size() ? TextOf(piece.text, spans[i + 1]) : "";
      SpokenWord word;
      word.Text = TextOf(piece.text, spans[i]);
      word.Doubt = RiskOf(word.Text, language, EndsSentence(word.Text, next));
      word.Said = word.Text;
      word.Language = language;
      word.First = {document_.File(), line, 0};
      AddWord(std::move(word), piece.settings.voice);
    }
  }
}

// ---- Both ----

void Wording::AddWord(SpokenWord word, const std::string& voice) {
  const auto [entry, isNew] =
      words_.try_emplace({voice, word.Language, word.Text, word.Said, word.Lexicon});
  SpokenWord& known = entry->second;
  if (isNew) known = std::move(word);
  ++known.Count;
}

std::vector<SpokenWord> Wording::Words(const std::vector<fs::path>& blocks) {
  words_.clear();
  for (const fs::path& block : blocks) {
    for (const Value& value : ValuesOf(block))
      AddValue(value);
  }
  AddDocument();
  std::vector<SpokenWord> words;
  // By voice: each change of it costs the engine's library memory until it speaks.
  for (auto& [key, word] : words_) {
    word.Phonemes = phonemes_.Of(word.Said, key.front());
    AddVoiceRisk(word.Doubt, word.Phonemes);
    words.push_back(std::move(word));
  }
  std::stable_sort(words.begin(), words.end(), [](const SpokenWord& a, const SpokenWord& b) {
    return a.Doubt.Points > b.Doubt.Points;
  });
  return words;
}

std::set<std::string> Wording::LexicaWith(const std::string& word, const std::string& language,
                                          const std::vector<fs::path>& blocks) {
  std::set<std::string> names;
  for (const fs::path& block : blocks) {
    for (const Value& value : ValuesOf(block)) {
      if (value.Language == language && value.Lexicon.size() > 1 &&
          value.Text.find(word) != std::string::npos) {
        names.insert(value.Lexicon);
      }
    }
  }
  return names;
}

SpokenText Wording::Speak(const std::string& text, const std::string& language,
                          const std::string& lexicon) {
  const LexiconFile* file = Lexicon(language, lexicon);
  const Rewriting rewriting = file == nullptr ? Unchanged(text) : file->Rewrite(text);
  SpokenText spoken;
  spoken.Text = text;
  spoken.Said = rewriting.Said;
  spoken.Entries = EntriesOf(file, rewriting, {0, text.size()});
  for (const engine::SpeechPiece& piece : SpeechOf(rewriting.Said, VoiceOf(language))) {
    if (!spoken.Phonemes.empty()) spoken.Phonemes += " || ";
    spoken.Phonemes += phonemes_.Of(piece.text, piece.settings.voice);
  }
  return spoken;
}

}  // namespace tools
