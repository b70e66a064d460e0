#include <map>
#include <set>
#include <string>
#include <vector>

#include "check/document_index.h"
#include "check/rule_groups.h"

namespace tools {

namespace {

constexpr Rule kElement = {
    .Id = "unused-element",
    .Level = Severity::Hint,
    .Title = {"Ein Element, das keine Ansage nennt", "An element that no announcement names"},
    .Problem = {"das Element \"{0}\" nennt kein Speech", "no Speech names the element \"{0}\""},
    .Effect = {"Er spricht es nie; ein steady-Element wird dennoch beim Start gebaut.",
               "It never says it; a steady element is built at start all the same."},
    .Advice = {"ein Speech mit id=\"{0}\", oder das Element entfernen",
               "a Speech with id=\"{0}\", or remove the element"},
    .Explanation = {"Elemente einer Sprache können nur Ansagen derselben Sprache nennen, Elemente "
                    "von \"all\" die "
                    "aller Sprachen.",
                    "Elements of a language can be named by announcements of the same language "
                    "only, elements of "
                    "\"all\" by those of all languages."}};

constexpr Rule kCase = {
    .Id = "unused-case",
    .Level = Severity::Hint,
    .Title = {"Ein Fall, den keine Bedingung braucht", "A case that no condition needs"},
    .Problem = {"kein Condition und kein anderer Fall nennt \"{0}\"",
                "no Condition and no other case names \"{0}\""},
    .Effect = {"Er prüft ihn für jede Zeile vergebens.", "It tests it for every row in vain."},
    .Advice = {"ein Condition mit name=\"{0}\", oder den Fall entfernen",
               "a Condition with name=\"{0}\", or remove the case"},
    .Explanation = {
        "Alle Fälle werden für jede Zeile geprüft, ob sie jemand nennt oder nicht; einer mit "
        "offenem Ende kann dabei den ganzen Block scheitern lassen.",
        "All cases are tested for every row, whether anything names them or not; one with an open "
        "end can make the whole block fail by it."}};

constexpr Rule kLexicon = {
    .Id = "unused-lexicon",
    .Level = Severity::Hint,
    .Title = {"Ein Lexikon, das keine Ansage der Sprache benutzt",
              "A lexicon that no announcement of the language uses"},
    .Problem = {"das Lexikon \"{0}\" benutzt kein Speech der Sprache \"{1}\"",
                "no Speech of the language \"{1}\" uses the lexicon \"{0}\""},
    .Effect = {"Er wendet es nie an: Es zählt nur das Attribut lexicon eines Speech.",
               "It never applies it: only the attribute lexicon of a Speech counts."},
    .Advice = {"lexicon=\"{0}\" an einem Speech, oder das Lexicon entfernen",
               "lexicon=\"{0}\" of a Speech, or remove the Lexicon"},
    .Explanation = {
        "Ein Lexicon in References bewirkt selbst nichts. Angewandt wird, was ein Speech nennt.",
        "A Lexicon in References does nothing by itself. What a Speech names is applied."}};

constexpr Rule kAttribute = {
    .Id = "unused-attribute",
    .Level = Severity::Hint,
    .Title = {"Ein Attribut, das weder gesprochen noch geprüft wird",
              "An attribute that is neither spoken nor tested"},
    .Problem = {"das Attribut \"{0}\" ist keinem Element zugewiesen und in keinem Fall geprüft",
                "the attribute \"{0}\" is assigned to no element and tested by no case"},
    .Effect = {"Er sieht seinen Wert höchstens darauf an, ob es ihn gibt.",
               "It looks at its value at most to see that there is one."},
    .Advice = {"assignto=\"...\", ein Fall, der es prüft, oder das Attribut entfernen",
               "assignto=\"...\", a case that tests it, or remove the attribute"},
    .Explanation = {"Ein Attribut dient einem Element (assignto) oder Fällen (substr, strlen). "
                    "Sonst bewirkt es "
                    "nur mit musthavevalue etwas: Blöcke ohne seinen Wert werden abgewiesen.",
                    "An attribute serves an element (assignto) or cases (substr, strlen). Else it "
                    "does something "
                    "with musthavevalue only: blocks without its value are refused."}};

constexpr Rule kOneLanguage = {
    .Id = "attribute-in-one-language",
    .Level = Severity::Hint,
    .Title = {"Ein Attribut wird in einer Sprache gesprochen und in einer anderen nicht",
              "An attribute is spoken in one language and not in another"},
    .Problem = {"das Attribut \"{0}\" wird in \"{1}\" gesprochen, in \"{2}\" nicht",
                "the attribute \"{0}\" is spoken in \"{1}\", not in \"{2}\""},
    .Effect = {"Wer nur \"{2}\" versteht, erfährt diesen Wert nicht.",
               "Who understands \"{2}\" only does not hear this value."},
    .Advice = {"ein Speech dafür auch in \"{2}\"", "a Speech for it in \"{2}\" as well"},
    .Explanation = {
        "Verglichen wird, welche Attribute die Ansagen der Sprachen insgesamt sprechen, gleich "
        "unter "
        "welcher Bedingung.",
        "What is compared is which attributes the announcements of the languages say in all, "
        "whatever the condition."}};

constexpr Rule kRules[] = {kElement, kCase, kLexicon, kAttribute, kOneLanguage};

using Names = std::set<std::string>;

/// What the announcements of a language name.
struct Uses {
  Names Elements;
  Names Lexica;
};

class UnusedCheck {
 public:
  UnusedCheck(const Document& document, Report& report) : document_(document), report_(report) {
    for (const Element* language : SpokenLanguages(document)) {
      Uses& uses = uses_[language->Value("name")];
      for (const Phrase& phrase : PhrasesOfLanguage(*language)) {
        uses.Elements.insert(phrase.Speech->Value("id"));
        uses.Lexica.insert(phrase.Speech->Value("lexicon"));
      }
      all_.Elements.insert(uses.Elements.begin(), uses.Elements.end());
      all_.Lexica.insert(uses.Lexica.begin(), uses.Lexica.end());
    }
  }

  void CheckAll() {
    for (const Element* language : NamedLanguages(document_)) {
      const auto uses = uses_.find(language->Value("name"));
      // One that Assembly does not have is told of by another rule.
      if (uses != uses_.end()) CheckLanguage(*language, uses->second);
    }
    const Element* shared = SharedLanguage(document_);
    if (shared != nullptr) CheckLanguage(*shared, all_);
    CheckCases();
    CheckAttributes();
  }

 private:
  void CheckLanguage(const Element& language, const Uses& uses) {
    for (const Element* element : language.ChildrenCalled("Element")) {
      const std::string id = element->Value("id");
      if (uses.Elements.contains(id)) continue;
      AddFinding(report_, kElement, PlaceOf(document_, *element), id);
    }
    for (const Element* lexicon : language.ChildrenCalled("Lexicon")) {
      const std::string name = lexicon->Value("name");
      if (uses.Lexica.contains(name)) continue;
      AddFinding(report_, kLexicon, PlaceOf(document_, *lexicon), name, language.Value("name"));
    }
  }

  void CheckCases() {
    Names used;
    for (const Element* announcement : document_.Announcements()) {
      for (const Element* child : announcement->Children) {
        if (child->Name == "Condition") used.insert(child->Value("name"));
      }
    }
    for (const Element* caseElement : Cases(document_)) {
      for (const Element* child : caseElement->ChildrenCalled("Case"))
        used.insert(child->Value("ref"));
    }
    for (const Element* caseElement : Cases(document_)) {
      const std::string id = caseElement->Value("id");
      if (id.empty() || used.contains(id)) continue;
      AddFinding(report_, kCase, PlaceOf(document_, *caseElement), id);
    }
  }

  void CheckAttributes() {
    Names tested;
    for (const Element* caseElement : Cases(document_))
      tested.insert(TestedAttribute(*caseElement));
    for (const Element* attribute : RowAttributes(document_)) {
      const std::string name = attribute->Value("name");
      const std::string id = attribute->Value("assignto");
      if (id.empty() && !tested.contains(name)) {
        AddFinding(report_, kAttribute, PlaceOf(document_, *attribute), name);
      }
      if (all_.Elements.contains(id)) CheckLanguages(*attribute, name, id);
    }
  }

  void CheckLanguages(const Element& attribute, const std::string& name, const std::string& id) {
    std::vector<std::string> with;
    std::vector<std::string> without;
    for (const auto& [language, uses] : uses_)
      (uses.Elements.contains(id) ? with : without).push_back(language);
    if (without.empty()) return;
    AddFinding(report_, kOneLanguage, PlaceOf(document_, attribute), name,
               fmt::format("{}", fmt::join(with, ", ")),
               fmt::format("{}", fmt::join(without, ", ")));
  }

  const Document& document_;
  Report& report_;
  std::map<std::string, Uses> uses_;
  Uses all_;
};

void Check(const CheckInput& input, Report& report) {
  if (input.Document == nullptr || input.Document->Assembly() == nullptr) return;
  UnusedCheck(*input.Document, report).CheckAll();
}

}  // namespace

RuleGroup UnusedRules() {
  return {{"Unbenutztes im Dokument", "What the document does not use"}, kRules, Check};
}

}  // namespace tools
