#include <algorithm>
#include <iterator>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "check/document_index.h"
#include "check/rule_groups.h"
#include "check/suggestions.h"

namespace tools {

namespace {

constexpr Rule kWithoutAnnouncements = {
    .Id = "language-without-announcements",
    .Level = Severity::Error,
    .Title = {"References hat mehr Sprachen als Assembly",
              "References has more languages than Assembly"},
    .Problem = {"die Sprache \"{0}\" hat in <Assembly> kein Gegenstück ({1} Sprachen in "
                "References, {2} in Assembly)",
                "the language \"{0}\" has no counterpart in <Assembly> ({1} languages in "
                "References, {2} in Assembly)"},
    .Effect = {"Er gibt jeden Datenblock auf: Keine Ansage gelangt in das Abspielverzeichnis.",
               "It gives up every data block: no announcement reaches the play directory."},
    .Advice = {"<Language name=\"{0}\"> auch in Assembly, oder hier entfernen",
               "<Language name=\"{0}\"> in Assembly as well, or remove it here"},
    .Explanation = {
        "Der Server zählt die Sprachen in References und greift mit dieser Nummer auf die Sprachen "
        "in Assembly zu. Fehlt dort eine, bricht die Bearbeitung jedes Blocks ab, bevor seine "
        "Ansagen abgespielt werden können.",
        "The server counts the languages in References and takes those of Assembly by this number. "
        "If one is missing there, the work on every block is given up before its announcements can "
        "be played."}};

constexpr Rule kNeverSpoken = {
    .Id = "language-never-spoken",
    .Level = Severity::Warning,
    .Title = {"Assembly hat mehr Sprachen als References",
              "Assembly has more languages than References"},
    .Problem = {"die Sprache \"{0}\" ist die {1}. in <Assembly>, in References gibt es {2}",
                "the language \"{0}\" is number {1} in <Assembly>, and References has {2}"},
    .Effect = {"Er spricht nur so viele Sprachen, wie References hat: diese nie.",
               "It speaks only as many languages as References has: never this one."},
    .Advice = {"<Language name=\"{0}\"> mit ihren Elementen auch in References",
               "<Language name=\"{0}\"> with its elements in References as well"},
    .Explanation = {
        "Der Server zählt die Sprachen in References. Von den Sprachen in Assembly nimmt er nur so "
        "viele, von der ersten an.",
        "The server counts the languages in References. Of the languages in Assembly it takes only "
        "as many, from the first on."}};

constexpr Rule kUnknown = {
    .Id = "language-unknown",
    .Level = Severity::Error,
    .Title = {"Eine Sprache in Assembly, die References nicht kennt",
              "A language in Assembly that References does not know"},
    .Problem = {"References hat keine Sprache \"{0}\"{1}", "References has no language \"{0}\"{1}"},
    .Effect =
        {"Er kennt kein Element dieser Sprache: Ihre Texte bestehen aus generalprefix allein.",
         "It knows no element of this language: its texts consist of generalprefix alone."},
    .Advice = {"denselben Namen in References und Assembly",
               "the same name in References and Assembly"},
    .Explanation = {
        "Ein Speech holt sein Element bei der Sprache, die in References genau denselben Namen "
        "hat. Gibt es sie nicht, trägt kein Speech etwas bei. \"all\" ist keine solche Sprache.",
        "A Speech takes its element from the language of exactly the same name in References. If "
        "there is none, no Speech contributes anything. \"all\" is no such language."}};

constexpr Rule kOrder = {
    .Id = "language-order",
    .Level = Severity::Hint,
    .Title = {"Die Sprachen stehen in References und Assembly in verschiedener Reihenfolge",
              "The languages stand in different order in References and Assembly"},
    .Problem = {"die {1}. Sprache ist hier \"{0}\", in References \"{2}\"",
                "language number {1} is \"{0}\" here, in References \"{2}\""},
    .Effect = {"Die Reihenfolge in Assembly gilt; noch sind alle Texte richtig.",
               "The order of Assembly counts; as yet all texts are right."},
    .Advice = {"die Sprachen in beiden Abschnitten in derselben Reihenfolge",
               "the languages in one order in both sections"},
    .Explanation = {
        "Sprachen werden in References gezählt und in Assembly nach ihrer Nummer genommen. Stehen "
        "sie verschieden, zählt Assembly; sobald eine fehlt, schweigt die falsche.",
        "Languages are counted in References and taken from Assembly by their number. Where the "
        "order differs, Assembly counts; as soon as one is missing, the wrong one falls silent."}};

constexpr Rule kDuplicate = {
    .Id = "duplicate-language",
    .Level = Severity::Warning,
    .Title = {"Zwei Sprachen eines Abschnitts heißen gleich",
              "Two languages of a section have the same name"},
    .Problem = {"die Sprache \"{0}\" gibt es noch einmal in Zeile {1}",
                "the language \"{0}\" comes once more in line {1}"},
    .Effect = {"Es gilt die letzte, in Zeile {1}. In Assembly werden beide Texte in dieselbe Datei "
               "gesprochen.",
               "The last one counts, in line {1}. In Assembly both texts are spoken into the same "
               "file."},
    .Advice = {"jeden Namen nur einmal je Abschnitt", "every name once only in a section"},
    .Explanation = {
        "In References zählen nur Stimmen und Elemente der letzten Sprache eines Namens, auch bei "
        "\"all\". In Assembly entstehen beide Ansagen, doch die zweite überschreibt die Datei der "
        "ersten, und beide werden bei jedem Block neu synthetisiert.",
        "In References only the voices and elements of the last language of a name count, of "
        "\"all\" as well. In Assembly both announcements are made, but the second overwrites the "
        "file of the first, and both are synthesised anew with every block."}};

constexpr Rule kDigit = {
    .Id = "language-digit",
    .Level = Severity::Warning,
    .Title = {"Ein Sprachname endet mit einer Ziffer", "A language's name ends in a digit"},
    .Problem = {"der Sprachname \"{0}\" endet mit einer Ziffer",
                "the language's name \"{0}\" ends in a digit"},
    .Effect = {"Dateien heißen nach Sprache und Zeile: \"{0}\" mit Zeile 0 und \"{1}\" mit Zeile "
               "{2} sind dieselbe.",
               "Files are named after language and row: \"{0}\" with row 0 and \"{1}\" with row "
               "{2} are the same."},
    .Advice = {"einen Namen, der mit einem Buchstaben endet", "a name that ends in a letter"},
    .Explanation = {
        "Sprachname und Zeilennummer werden ohne Trennzeichen zu einem Dateinamen verbunden: de1 "
        "mit Zeile 0 ist de10, ebenso de mit Zeile 10. Die eine Ansage überschreibt die andere.",
        "A language's name and the number of the row are joined to a file name as they are: de1 "
        "with row 0 is de10, and so is de with row 10. One announcement overwrites the other."}};

constexpr Rule kWithoutName = {
    .Id = "language-without-name",
    .Level = Severity::Warning,
    .Title = {"Eine Sprache ohne Namen", "A language without a name"},
    .Problem = {"<Language> hat keinen Namen", "<Language> has no name"},
    .Effect = {"Ihr Name ist leer, und ihre Dateien heißen nur nach der Zeile.",
               "Its name is empty, and its files are named after the row alone."},
    .Advice = {"name=\"de\"", "name=\"de\""},
    .Explanation = {"Fehlt name, ist der Name leer. Er ist zugleich Verzeichnis der Lexika und der "
                    "vorbereiteten Reden und Anfang der Dateinamen.",
                    "Without name the name is empty. It is also the directory of the lexica and of "
                    "the prepared "
                    "speeches, and the beginning of the file names."}};

constexpr Rule kPrefer = {
    .Id = "prefer-unknown",
    .Level = Severity::Warning,
    .Title = {"prefer nennt kein Geschlecht", "prefer names no sex"},
    .Problem = {"prefer=\"{0}\" ist unbekannt{1}", "prefer=\"{0}\" is unknown{1}"},
    .Effect = {"Die Sprache zieht keine Stimme vor.", "The language prefers no voice."},
    .Advice = {"\"male\", \"Male\", \"female\" oder \"Female\", oder kein prefer",
               "\"male\", \"Male\", \"female\" or \"Female\", or no prefer"},
    .Explanation = {"Nur diese vier Schreibungen gelten; MALE zum Beispiel nicht.",
                    "Only these four spellings count; MALE for instance does not."}};

constexpr Rule kRules[] = {
    kWithoutAnnouncements, kNeverSpoken, kUnknown, kOrder, kDuplicate, kDigit,
    kWithoutName,          kPrefer};

using Languages = std::vector<const Element*>;

std::vector<std::string> NamesOf(const Languages& languages) {
  std::vector<std::string> names;
  std::transform(languages.begin(), languages.end(), std::back_inserter(names),
                 [](const Element* language) { return language->Value("name"); });
  return names;
}

/// Finds the languages that one section has and the other has not.
class PairCheck {
 public:
  PairCheck(const Document& document, Report& report)
      : document_(document),
        report_(report),
        spoken_(SpokenLanguages(document)),
        named_(NamedLanguages(document)),
        spokenNames_(NamesOf(spoken_)),
        namesInReferences_(NamesOf(named_)) {}

  void CheckAll() {
    if (named_.empty()) return;  // another rule says so
    const std::size_t paired = std::min(spoken_.size(), named_.size());
    CheckMissing(paired);
    for (std::size_t i = paired; i < spoken_.size(); ++i) {
      AddFinding(report_, kNeverSpoken, PlaceOf(document_, *spoken_[i]), spokenNames_[i], i + 1,
                 named_.size());
    }
    if (CheckUnknown(paired)) CheckOrder();
  }

 private:
  /// As many as are too many; those without a counterpart first.
  void CheckMissing(std::size_t paired) {
    std::size_t surplus = named_.size() - paired;
    const std::set<std::string> known(spokenNames_.begin(), spokenNames_.end());
    Languages missing;
    std::copy_if(named_.begin(), named_.end(), std::back_inserter(missing),
                 [&known](const Element* l) { return !known.contains(l->Value("name")); });
    if (missing.empty()) missing = named_;
    for (auto i = missing.rbegin(); i != missing.rend() && surplus > 0; ++i, --surplus) {
      AddFinding(report_, kWithoutAnnouncements, PlaceOf(document_, **i), (*i)->Value("name"),
                 named_.size(), spoken_.size());
    }
  }

  /// Whether all that are spoken are known.
  bool CheckUnknown(std::size_t paired) {
    Suggestions names({namesInReferences_.begin(), namesInReferences_.end()});
    bool known = true;
    for (std::size_t i = 0; i < paired; ++i) {
      if (names.Has(spokenNames_[i])) continue;
      known = false;
      AddFinding(report_, kUnknown, PlaceOf(document_, *spoken_[i], "name"), spokenNames_[i],
                 names.Question(spokenNames_[i], report_.Lang()));
    }
    return known;
  }

  /// One finding tells it: where one is in another place, a second is as well.
  void CheckOrder() {
    if (spoken_.size() != named_.size()) return;
    const auto [spoken, named] =
        std::mismatch(spokenNames_.begin(), spokenNames_.end(), namesInReferences_.begin());
    if (spoken == spokenNames_.end()) return;
    const auto number = static_cast<std::size_t>(spoken - spokenNames_.begin());
    AddFinding(report_, kOrder, PlaceOf(document_, *spoken_[number], "name"), *spoken, number + 1,
               *named);
  }

  const Document& document_;
  Report& report_;
  Languages spoken_;
  Languages named_;
  std::vector<std::string> spokenNames_;
  std::vector<std::string> namesInReferences_;
};

void CheckDuplicates(const Document& document, const Element& section, Report& report) {
  const Languages languages = section.ChildrenCalled("Language");
  std::map<std::string, const Element*> last;
  for (const Element* language : languages)
    last[language->Value("name")] = language;
  for (const Element* language : languages) {
    const std::string name = language->Value("name");
    if (last.at(name) == language) continue;
    AddFinding(report, kDuplicate, PlaceOf(document, *language, "name"), name,
               last.at(name)->At.Line);
  }
}

void CheckName(const Document& document, const Element& language, Report& report) {
  const std::string name = language.Value("name");
  if (name.empty()) AddFinding(report, kWithoutName, PlaceOf(document, language));
  const std::size_t letters = name.find_last_not_of("0123456789") + 1;
  if (letters == name.size()) return;
  AddFinding(report, kDigit, PlaceOf(document, language, "name"), name, name.substr(0, letters),
             name.substr(letters) + "0");
}

void CheckPrefer(const Document& document, const Element& language, Report& report) {
  Suggestions words({"male", "Male", "female", "Female"});
  const std::string word = language.Value("prefer");
  if (!language.Has("prefer") || words.Has(word)) return;
  AddFinding(report, kPrefer, PlaceOf(document, language, "prefer"), word,
             words.Question(word, report.Lang()));
}

void Check(const CheckInput& input, Report& report) {
  if (input.Document == nullptr) return;
  const Document& document = *input.Document;
  for (const Element* section : {document.References(), document.Assembly()})
    if (section != nullptr) CheckDuplicates(document, *section, report);
  for (const Element* language : SpokenLanguages(document)) {
    CheckName(document, *language, report);
    CheckPrefer(document, *language, report);
  }
  if (document.References() == nullptr || document.Assembly() == nullptr) return;
  PairCheck(document, report).CheckAll();
}

}  // namespace

RuleGroup LanguageRules() {
  return {
      {"Die Sprachen der beiden Abschnitte", "The languages of the two sections"}, kRules, Check};
}

}  // namespace tools
