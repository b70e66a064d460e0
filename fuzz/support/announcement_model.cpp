#include "support/announcement_model.h"

namespace model {

namespace {

/// The announcement chosen for a row: the first of the list or the second.
std::size_t ChosenIndex(const CkaSpeechGen::kaTTSLanguage& language, int number) {
  for (const auto& announcement : language.Announcements) {
    if (number == announcement.Position || number <= announcement.PositionMax) {
      return announcement.Position != 0 ? 1 : 0;
    }
  }
  return 1;
}

bool HasPosition(const CkaSpeechGen::kaTTSLanguage& language, std::size_t position) {
  bool found = false;
  for (const auto& announcement : language.Announcements)
    found = found || announcement.Position == static_cast<int>(position);
  return found;
}

int TraitOf(const CkaSpeechFormat& format, const std::string& language, const std::string& id) {
  int trait = CkaSpeechFormat::_KASerror;
  for (const KaLangRef& ref : format.LangRefs) {
    if (ref.LangName != language) continue;
    trait = CkaSpeechFormat::_KASerror;
    for (const kaTTSElement& element : ref.Elements) {
      if (element.id == id) trait = element.trait;
    }
  }
  return trait;
}

std::string AttributeOf(const CkaRBLDataFormat& format, const std::string& id) {
  std::string name;
  for (const auto& attribute : format.Attributes) {
    if (attribute.AssignTo == id) name = attribute.Name;
  }
  return name;
}

}  // namespace

std::optional<Announcement> Compose(const CkaSpeechbuilder& builder,
                                    const CkaRBLDataContent::kaRBLRow& row, int number,
                                    std::size_t language, const CaseResults& cases,
                                    LexiconFiles& files, Printed& printed) {
  if (language >= builder.SpeechGen.Languages.size()) return std::nullopt;
  const auto& sequence = builder.SpeechGen.Languages[language];
  const std::size_t index = ChosenIndex(sequence, number);
  printed.Out += "select lang " + std::to_string(index) + "\n";
  if (!HasPosition(sequence, index)) return Announcement{};
  if (index >= sequence.Announcements.size()) return std::nullopt;

  Announcement announcement{true, sequence.Name, sequence.GeneralPrefix + " "};
  std::string& text = announcement.Text;
  for (const auto& phrase : sequence.Announcements[index].Phrases) {
    if (!phrase.Condition.empty() && !cases.IsTrue(phrase.Condition)) continue;
    const int trait = TraitOf(builder.SpeechFormat, sequence.Name, phrase.RefId);
    if (trait == CkaSpeechFormat::_KASsound) {
      text += builder.PlayPrefix + builder.SoundsPath + "/" + phrase.RefId + builder.PlaySuffix;
    } else if (trait == CkaSpeechFormat::_KASsteady) {
      text += builder.PlayPrefix + builder.SteadyPath + "/" + sequence.Name + "/" + phrase.RefId +
              builder.PlaySuffix;
      printed.Out += "prepare steady: " + text + "\n";
    } else if (trait == CkaSpeechFormat::_KAStemp) {
      std::string value = ValueOf(row, AttributeOf(builder.RBLDataFormat, phrase.RefId));
      if (phrase.Lexicon.size() > 1) {
        value = UsedLexicon(value, sequence.Name + "/" + phrase.Lexicon, files, printed);
      }
      text += phrase.Prefix + value + phrase.Suffix;
    }
  }
  return announcement;
}

}  // namespace model
