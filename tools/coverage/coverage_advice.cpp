#include "coverage/coverage_advice.h"

#include <algorithm>
#include <optional>
#include <vector>

#include "coverage/value_search.h"

namespace tools {

namespace {

constexpr Bilingual kNotTaken = {"der Server liest das nicht", "the server does not read this"};
constexpr Bilingual kCaseNotTaken = {
    "der Server nimmt diesen Fall nicht: sein Name ist schon vergeben, oder er nennt Fälle, die es "
    "nicht gibt",
    "the server does not take this case: its name is taken, or it refers to cases that do not "
    "exist"};
constexpr Bilingual kNeverChosen = {"kein Block hatte eine Zeile {0} (gezählt von 0)",
                                    "no block had a row {0} (counted from 0)"};
constexpr Bilingual kCannotBeChosen = {"der Server wählt diese Ansage nie",
                                       "the server never chooses this announcement"};
constexpr Bilingual kSilentAnnouncement = {"ihre Ansage wurde nie gewählt",
                                           "its announcement was never chosen"};
constexpr Bilingual kUnknownElement = {"die Sprache hat kein Element \"{0}\"",
                                       "the language has no element \"{0}\""};
constexpr Bilingual kUnknownCase = {"es gibt keinen Fall \"{0}\"", "there is no case \"{0}\""};
constexpr Bilingual kCaseNeverTrue = {"der Fall \"{0}\" war nie wahr",
                                      "the case \"{0}\" was never true"};
constexpr Bilingual kCaseNotHere = {"der Fall \"{0}\" war in keiner Zeile dieser Ansage wahr",
                                    "the case \"{0}\" was true in no row of this announcement"};
constexpr Bilingual kTrueWith = {"wahr mit {0}=\"{1}\"", "true with {0}=\"{1}\""};
constexpr Bilingual kFalseWith = {"falsch mit {0}=\"{1}\"", "false with {0}=\"{1}\""};
constexpr Bilingual kTrueWithLength = {"wahr mit {1} Bytes in {0}", "true with {1} bytes in {0}"};
constexpr Bilingual kFalseWithLength = {"falsch mit {1} Bytes in {0}",
                                        "false with {1} bytes in {0}"};
constexpr Bilingual kNoValueTrue = {"kein Wert von {0} gefunden, mit dem er wahr wird",
                                    "no value of {0} found that makes it true"};
constexpr Bilingual kNoValueFalse = {"kein Wert von {0} gefunden, mit dem er falsch wird",
                                     "no value of {0} found that makes it false"};
constexpr Bilingual kNoParts = {
    "immer falsch: er verbindet keine Fälle (so liest der Server auch einen Fall mit einem Fehler)",
    "always false: it combines no cases (the server also reads a faulty case so)"};
constexpr Bilingual kUnknownOperator = {"immer falsch: unbekannter operator",
                                        "always false: unknown operator"};
constexpr Bilingual kNeedsOneTrue = {"einer davon muss wahr sein: {0}", "one must be true: {0}"};
constexpr Bilingual kNeedsOneFalse = {"einer davon muss falsch sein: {0}",
                                      "one must be false: {0}"};
constexpr Bilingual kNeedsAllTrue = {"alle müssen wahr sein; nie wahr: {0}",
                                     "all must be true; never true: {0}"};
constexpr Bilingual kNeedsAllFalse = {"alle müssen falsch sein; nie falsch: {0}",
                                      "all must be false; never false: {0}"};
constexpr Bilingual kNotTogetherTrue = {"nie alle in einer Zeile wahr: {0}",
                                        "never all true in one row: {0}"};
constexpr Bilingual kNotTogetherFalse = {"nie alle in einer Zeile falsch: {0}",
                                         "never all false in one row: {0}"};
constexpr Bilingual kNoReplacement = {"in keinem Wert ersetzt", "replaced in no value"};
constexpr Bilingual kNoRow = {"keine Zeile hatte hier einen Wert", "no row had a value for it"};
constexpr Bilingual kNotSpoken = {"keine gesprochene Phrase meint es",
                                  "no phrase that was spoken refers to it"};

/// What a combination needs of its parts for a result.
struct Need {
  bool bAll;   ///< all of them, else one
  bool bTrue;  ///< must be true, else false
};

std::optional<Need> NeedOf(int combination, bool result) {
  switch (combination) {
    case CkaCases::_CS_AND:
      return Need{result, result};
    case CkaCases::_CS_OR:
      return Need{!result, result};
    case CkaCases::_CS_NOR:
      return Need{result, !result};
    case CkaCases::_CS_NAND:
      return Need{!result, !result};
    default:
      return std::nullopt;
  }
}

std::string Joined(const std::vector<std::string>& names) {
  std::string joined;
  for (const std::string& name : names)
    joined += (joined.empty() ? "" : ", ") + name;
  return joined;
}

/// Explains items of one coverage in one language.
class Adviser {
 public:
  Adviser(const Coverage& coverage, Language language)
      : coverage_(coverage), builder_(coverage.Builder()), language_(language) {}

  std::string For(const CoverageItem& item) const {
    switch (item.Kind) {
      case ItemKind::Announcement:
        return ForAnnouncement(item);
      case ItemKind::Phrase:
        return ForPhrase(item);
      case ItemKind::CaseTrue:
        return ForCase(item, true);
      case ItemKind::CaseFalse:
        return ForCase(item, false);
      case ItemKind::LexiconEntry:
        return Told(kNoReplacement);
      case ItemKind::Attribute:
        return Told(kNoRow);
      case ItemKind::Element:
        return Told(kNotSpoken);
    }
    return "";
  }

 private:
  template <class... Args>
  std::string Told(const Bilingual& text, const Args&... args) const {
    return Say(text, language_, args...);
  }

  std::string ForAnnouncement(const CoverageItem& item) const {
    constexpr unsigned int kMostRows = 1000;
    const int rows = static_cast<int>(std::min(builder_.RBLDataFormat.GetMaxRows(), kMostRows));
    for (int row = 0; row < rows && item.Language < builder_.SpeechFormat.GetLanguageCount();
         ++row) {
      const int index = builder_.SpeechGen.GetAnnouncementIndex(item.Language, row) ? 1 : 0;
      if (index == item.Number) return Told(kNeverChosen, row);
    }
    return Told(kCannotBeChosen);
  }

  std::string ForPhrase(const CoverageItem& item) const {
    if (item.Number < 0) return Told(kNotTaken);
    const auto language = static_cast<std::size_t>(item.Language);
    const auto announcement = static_cast<std::size_t>(item.Announcement);
    const CoverageItems& items = coverage_.Items();
    if (items.All[items.Announcements[language][announcement]].Hits == 0) {
      return Told(kSilentAnnouncement);
    }
    const CkaSpeechGen::kaTTSPhrase& phrase =
        builder_.SpeechGen.AnnouncementAt(item.Language, item.Announcement)
            .Phrases[static_cast<std::size_t>(item.Number)];
    const std::string name = builder_.SpeechGen.GetLanguageName(item.Language);
    if (builder_.SpeechFormat.GetElementTrait(name, phrase.RefId) == CkaSpeechFormat::_KASerror) {
      return Told(kUnknownElement, phrase.RefId);
    }
    const std::string& condition = phrase.Condition;
    const CoverageItem* holds = FindCase(condition, true);
    if (holds == nullptr) return Told(kUnknownCase, condition);
    return Told(holds->Hits == 0 ? kCaseNeverTrue : kCaseNotHere, condition);
  }

  /// Of several cases with one name the last counts.
  const CoverageItem* FindCase(const std::string& name, bool holds) const {
    for (int i = builder_.CaseData.GetCaseCount() - 1; i >= 0; --i) {
      if (builder_.CaseData.GetCaseAt(i).Id != name) continue;
      const std::size_t item = coverage_.Items().Cases[static_cast<std::size_t>(i)];
      return &coverage_.Items().All[item + (holds ? 0 : 1)];
    }
    return nullptr;
  }

  std::string ForCase(const CoverageItem& item, bool holds) const {
    if (item.Number < 0) return Told(kCaseNotTaken);
    const CkaCases::kaCaseStruct& record = builder_.CaseData.GetCaseAt(item.Number);
    return record.Type == CkaCases::_CS_OPERATION ? ForCombination(record, holds)
                                                  : ForTest(record, item.Number, holds);
  }

  std::string ForTest(const CkaCases::kaCaseStruct& record, int number, bool holds) const {
    const std::string& attribute = record.FirstValRef;
    const std::optional<std::string> value =
        ValueFor(builder_.CaseData, number, holds, !IsRequired(attribute));
    if (!value) return Told(holds ? kNoValueTrue : kNoValueFalse, attribute);
    if (record.Type == CkaCases::_CS_STRLEN) {
      return Told(holds ? kTrueWithLength : kFalseWithLength, attribute, value->size());
    }
    return Told(holds ? kTrueWith : kFalseWith, attribute, *value);
  }

  bool IsRequired(const std::string& attribute) const {
    const auto& attributes = builder_.RBLDataFormat.Attributes;
    return std::any_of(attributes.begin(), attributes.end(),
                       [&attribute](const CkaRBLDataFormat::Attribute& one) {
                         return one.bRequired && one.Name == attribute;
                       });
  }

  std::string ForCombination(const CkaCases::kaCaseStruct& record, bool holds) const {
    if (record.CaseRefs.empty()) return Told(kNoParts);
    const std::optional<Need> need = NeedOf(record.Operator, holds);
    if (!need) return Told(kUnknownOperator);
    if (!need->bAll) {
      return Told(need->bTrue ? kNeedsOneTrue : kNeedsOneFalse, Joined(record.CaseRefs));
    }
    const std::vector<std::string> never = NeverReached(record.CaseRefs, need->bTrue);
    if (never.empty()) {
      return Told(need->bTrue ? kNotTogetherTrue : kNotTogetherFalse, Joined(record.CaseRefs));
    }
    return Told(need->bTrue ? kNeedsAllTrue : kNeedsAllFalse, Joined(never));
  }

  std::vector<std::string> NeverReached(const std::vector<std::string>& names, bool holds) const {
    std::vector<std::string> never;
    for (const std::string& name : names) {
      const CoverageItem* part = FindCase(name, holds);
      if (part == nullptr || part->Hits == 0) never.push_back(name);
    }
    return never;
  }

  const Coverage& coverage_;
  const CkaSpeechbuilder& builder_;
  Language language_;
};

}  // namespace

std::string AdviceFor(const CoverageItem& item, const Coverage& coverage, Language language) {
  return Adviser(coverage, language).For(item);
}

}  // namespace tools
