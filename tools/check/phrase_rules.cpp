#include <map>
#include <set>
#include <string>
#include <vector>

#include "check/document_index.h"
#include "check/rule_groups.h"
#include "check/suggestions.h"

namespace tools {

namespace {

constexpr Rule kUnknownElement = {
    .Id = "speech-unknown-element",
    .Level = Severity::Error,
    .Title = {"Ein Speech nennt ein Element, das die Sprache nicht hat",
              "A Speech names an element that the language does not have"},
    .Problem = {"die Sprache \"{1}\" hat kein Element \"{0}\"{2}",
                "the language \"{1}\" has no element \"{0}\"{2}"},
    .Effect = {"Diese Phrase fehlt im Text, auch ihr prefix und suffix.",
               "This phrase is missing in the text, its prefix and suffix as well."},
    .Advice = {"<Element id=\"{0}\" trait=\"...\"/> in die Sprache \"{1}\" oder \"all\" in "
               "References",
               "<Element id=\"{0}\" trait=\"...\"/> in the language \"{1}\" or \"all\" of "
               "References"},
    .Explanation = {
        "Ein Speech spricht das Element seiner id aus der Sprache desselben Namens oder aus "
        "\"all\". "
        "Elemente einer anderen Sprache zählen nicht. Ohne Element trägt das Speech nichts bei.",
        "A Speech says the element of its id of the language of the same name or of \"all\". "
        "Elements of another language do not count. Without an element the Speech contributes "
        "nothing."}};

constexpr Rule kUnknownCase = {
    .Id = "condition-unknown-case",
    .Level = Severity::Error,
    .Title = {"Ein Condition nennt einen Fall, den es nicht gibt",
              "A Condition names a case that does not exist"},
    .Problem = {"es gibt keinen Fall \"{0}\"{1}", "there is no case \"{0}\"{1}"},
    .Effect = {"Die Bedingung ist nie erfüllt: Was darin steht, wird nie gesprochen.",
               "The condition never holds: what stands inside is never spoken."},
    .Advice = {"die id eines <Case> in Assembly", "the id of a <Case> in Assembly"},
    .Explanation = {
        "Ein unbekannter Fall gilt ohne Meldung als nicht erfüllt. Namen werden genau verglichen, "
        "Groß- und Kleinschreibung eingeschlossen.",
        "An unknown case counts as one that does not hold, without a message. Names are compared "
        "exactly, upper and lower case included."}};

constexpr Rule kWithoutName = {
    .Id = "condition-without-name",
    .Level = Severity::Warning,
    .Title = {"Ein Condition ohne Namen", "A Condition without a name"},
    .Problem = {"<Condition> nennt keinen Fall", "<Condition> names no case"},
    .Effect = {"Was darin steht, wird immer gesprochen.", "What stands inside is always spoken."},
    .Advice = {"name=\"FALL\", oder die Speech ohne Condition",
               "name=\"CASE\", or the Speech elements without a Condition"},
    .Explanation = {
        "Eine leere Bedingung gilt als erfüllt, anders als eine, die einen unbekannten Fall nennt.",
        "An empty condition counts as one that holds, unlike one that names an unknown case."}};

constexpr Rule kEmpty = {
    .Id = "condition-empty",
    .Level = Severity::Hint,
    .Title = {"Ein Condition ohne Speech", "A Condition without a Speech"},
    .Problem = {"<Condition name=\"{0}\"> enthält kein Speech",
                "<Condition name=\"{0}\"> contains no Speech"},
    .Effect = {"Sie trägt nichts bei.", "It contributes nothing."},
    .Advice = {"ein Speech hinein, oder das Condition entfernen",
               "a Speech inside, or remove the Condition"},
    .Explanation = {"Gelesen werden nur Speech-Elemente unmittelbar in einem Condition.",
                    "Only Speech elements directly inside a Condition are read."}};

constexpr Rule kOnRecording = {
    .Id = "prefix-on-recording",
    .Level = Severity::Warning,
    .Title = {"prefix, suffix oder lexicon an einem Klang oder einer vorbereiteten Rede",
              "prefix, suffix or lexicon of a sound or a prepared speech"},
    .Problem = {"{0} an \"{1}\", das trait=\"{2}\" hat", "{0} of \"{1}\", which has trait=\"{2}\""},
    .Effect = {"Er spielt nur die Datei und lässt {0} weg.",
               "It plays the file only and leaves {0} out."},
    .Advice = {"die Wörter in ein eigenes Speech mit einem temp-Element",
               "the words in a Speech of their own with a temp element"},
    .Explanation = {
        "prefix, suffix und lexicon gelten nur für temp-Elemente. Klänge und vorbereitete Reden "
        "werden als Datei eingefügt, mit playprefix und playsuffix der Konfiguration.",
        "prefix, suffix and lexicon are for temp elements only. Sounds and prepared speeches are "
        "put "
        "in as files, with playprefix and playsuffix of the configuration."}};

constexpr Rule kWithoutAttribute = {
    .Id = "temp-without-attribute",
    .Level = Severity::Warning,
    .Title = {"Ein temp-Element, dem kein Attribut zugewiesen ist, soll einen Wert sprechen",
              "A temp element that no attribute is assigned to is to say a value"},
    .Problem = {"dem Element \"{0}\" ist kein Attribut zugewiesen{1}",
                "no attribute is assigned to the element \"{0}\"{1}"},
    .Effect = {"Sein Wert ist leer; gesprochen wird nur, was in prefix und suffix steht.",
               "Its value is empty; only what stands in prefix and suffix is spoken."},
    .Advice = {"<Attribute name=\"...\" assignto=\"{0}\"/> in RBLFormat; feste Wörter nur als "
               "prefix, ohne suffix und lexicon",
               "<Attribute name=\"...\" assignto=\"{0}\"/> in RBLFormat; fixed words as prefix "
               "only, without suffix and lexicon"},
    .Explanation = {
        "Ein temp-Element spricht den Wert des Attributs, dessen assignto seine id nennt. Ohne ein "
        "solches ist der Wert leer. Das ist gebräuchlich, um feste Wörter zu sprechen, die allein "
        "im prefix stehen; gemeldet wird es, wo ein Wert erwartet scheint: ohne prefix, mit "
        "suffix, "
        "mit lexicon, oder wenn ein Attribut so heißt wie das Element.",
        "A temp element says the value of the attribute whose assignto names its id. Without one "
        "the value is empty. That is common for fixed words, which stand in the prefix alone; it "
        "is "
        "reported where a value seems to be expected: without a prefix, with a suffix, with a "
        "lexicon, or if an attribute has the element's name."}};

constexpr Rule kRules[] = {kUnknownElement, kUnknownCase, kWithoutName,
                           kEmpty,          kOnRecording, kWithoutAttribute};

std::set<std::string> IdsOf(const std::vector<const Element*>& elements, std::string_view name) {
  std::set<std::string> ids;
  for (const Element* element : elements)
    ids.insert(element->Value(name));
  return ids;
}

class PhraseCheck {
 public:
  PhraseCheck(const CheckInput& input, Report& report)
      : document_(*input.Document),
        references_(input.Readers->References),
        report_(report),
        cases_(IdsOf(Cases(document_), "id")),
        attributeNames_(IdsOf(RowAttributes(document_), "name")),
        assigned_(IdsOf(RowAttributes(document_), "assignto")) {}

  void CheckConditions() {
    for (const Element* announcement : document_.Announcements()) {
      for (const Element* child : announcement->Children) {
        if (child->Name == "Condition") CheckCondition(*child);
      }
    }
  }

  void CheckPhrases() {
    const std::set<std::string> known = IdsOf(NamedLanguages(document_), "name");
    for (const Element* language : SpokenLanguages(document_)) {
      const std::string name = language->Value("name");
      if (!known.contains(name)) continue;
      for (const Phrase& phrase : PhrasesOfLanguage(*language))
        CheckSpeech(*phrase.Speech, name);
    }
  }

 private:
  void CheckCondition(const Element& condition) {
    const std::string name = condition.Value("name");
    if (name.empty()) {
      AddFinding(report_, kWithoutName, PlaceOf(document_, condition, "name"));
    } else if (!cases_.Has(name)) {
      AddFinding(report_, kUnknownCase, PlaceOf(document_, condition, "name"), name,
                 cases_.Question(name, report_.Lang()));
    }
    if (condition.ChildrenCalled("Speech").empty()) {
      AddFinding(report_, kEmpty, PlaceOf(document_, condition), name);
    }
  }

  void CheckSpeech(const Element& speech, const std::string& language) {
    const std::string id = speech.Value("id");
    switch (references_.GetElementTrait(language, id)) {
      case CkaSpeechFormat::_KASsound:
        CheckRecording(speech, "sound");
        break;
      case CkaSpeechFormat::_KASsteady:
        CheckRecording(speech, "steady");
        break;
      case CkaSpeechFormat::_KAStemp:
        CheckValue(speech, id);
        break;
      default:
        AddFinding(report_, kUnknownElement, PlaceOf(document_, speech, "id"), id, language,
                   ElementsOf(language).Question(id, report_.Lang()));
    }
  }

  void CheckRecording(const Element& speech, std::string_view trait) {
    for (const char* name : {"prefix", "suffix", "lexicon"}) {
      if (speech.Value(name).empty()) continue;
      AddFinding(report_, kOnRecording, PlaceOf(document_, speech, name), name, speech.Value("id"),
                 trait);
    }
  }

  /// One finding per element, at the first phrase that expects a value.
  void CheckValue(const Element& speech, const std::string& id) {
    if (document_.Format() == nullptr || assigned_.contains(id)) return;
    const bool fixedWords = !speech.Value("prefix").empty() && speech.Value("suffix").empty() &&
                            speech.Value("lexicon").empty();
    const bool isAttribute = attributeNames_.contains(id);
    if ((fixedWords && !isAttribute) || !reported_.insert(id).second) return;
    constexpr Bilingual kSameName = {", obwohl es ein Attribut dieses Namens gibt",
                                     ", although there is an attribute of this name"};
    AddFinding(report_, kWithoutAttribute, PlaceOf(document_, speech, "id"), id,
               isAttribute ? kSameName(report_.Lang()) : "");
  }

  Suggestions& ElementsOf(const std::string& language) {
    const auto known = elements_.find(language);
    if (known != elements_.end()) return known->second;
    std::set<std::string> ids;
    for (const KaLangRef& ref : references_.LangRefs) {
      if (ref.LangName != language) continue;
      for (const kaTTSElement& element : ref.Elements)
        ids.insert(element.id);
    }
    return elements_.emplace(language, Suggestions(std::move(ids))).first->second;
  }

  const Document& document_;
  const CkaSpeechFormat& references_;
  Report& report_;
  Suggestions cases_;
  std::set<std::string> attributeNames_;
  std::set<std::string> assigned_;
  std::map<std::string, Suggestions> elements_;
  std::set<std::string> reported_;
};

void Check(const CheckInput& input, Report& report) {
  if (input.Document == nullptr) return;
  PhraseCheck check(input, report);
  check.CheckConditions();
  // What the server knows of the elements is unknown if it gives up reading them.
  if (input.Readers->ReferencesResult == ReadResult::Complete) check.CheckPhrases();
}

}  // namespace

RuleGroup PhraseRules() {
  return {{"Phrasen und Bedingungen", "Phrases and conditions"}, kRules, Check};
}

}  // namespace tools
