#include <libxml/tree.h>

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

constexpr Rule kMinAboveMax = {
    .Id = "rows-min-above-max",
    .Level = Severity::Error,
    .Title = {"minrows ist größer als maxrows", "minrows is above maxrows"},
    .Problem = {"minrows ist {0}, maxrows {1}", "minrows is {0}, maxrows {1}"},
    .Effect = {"Er öffnet keinen Port.", "It opens no port."},
    .Advice = {"maxrows nicht kleiner als minrows; ohne maxrows ist es 0",
               "maxrows not below minrows; without maxrows it is 0"},
    .Explanation = {
        "Ist die kleinste Zahl der Zeilen größer als die größte, meldet der Server \"Kleinster "
        "Zeilenanzahl Wert größer als Maximalwert!\" und öffnet keinen Port.",
        "If the least number of rows is above the largest, the server prints \"Kleinster "
        "Zeilenanzahl Wert größer als Maximalwert!\" and opens no port."}};

constexpr Rule kNoRows = {
    .Id = "rows-none",
    .Level = Severity::Error,
    .Title = {"maxrows ist 0", "maxrows is 0"},
    .Problem = {"maxrows ist 0 oder fehlt", "maxrows is 0 or missing"},
    .Effect = {"Er kürzt jeden Block auf null Zeilen: Nie entsteht eine Ansage, und das "
               "Abspielverzeichnis wird geleert.",
               "It cuts every block to no rows: no announcement is ever made, and the play "
               "directory is emptied."},
    .Advice = {"maxrows=\"6\"", "maxrows=\"6\""},
    .Explanation = {
        "Zeilen hinter maxrows werden nicht beachtet. Mit 0 bleibt keine übrig; der Block gilt als "
        "bearbeitet, doch gesprochen wird nichts.",
        "Rows behind maxrows are not looked at. With 0 none is left; the block counts as done, but "
        "nothing is spoken."}};

constexpr Rule kNegative = {
    .Id = "rows-negative",
    .Level = Severity::Error,
    .Title = {"minrows oder maxrows ist negativ", "minrows or maxrows is negative"},
    .Problem = {"{0} ist {1}", "{0} is {1}"},
    .Effect =
        {"Er liest die Zahl als {2}. minrows: kein Block genügt, oder es öffnet sich kein "
         "Port; maxrows: keine Grenze.",
         "It takes the number as {2}. minrows: no block is enough, or no port opens; maxrows: "
         "no limit."},
    .Advice = {"0 oder eine positive Zahl", "0 or a positive number"},
    .Explanation = {"Die Grenzen sind Zahlen ohne Vorzeichen: Aus -1 wird 4294967295.",
                    "The limits are numbers without a sign: -1 becomes 4294967295."}};

constexpr Rule kTooMany = {
    .Id = "rows-unreachable",
    .Level = Severity::Error,
    .Title = {"So viele Zeilen, wie minrows verlangt, passen in keinen Block",
              "As many rows as minrows asks for fit into no block"},
    .Problem = {"minrows ist {0}, in einen Block passen höchstens {1} Zeilen",
                "minrows is {0}, and at most {1} rows fit into a block"},
    .Effect = {"Er weist jeden Block ab.", "It refuses every block."},
    .Advice = {"ein minrows, das die Blöcke erreichen", "a minrows that blocks reach"},
    .Explanation = {
        "Der Server liest von einer Verbindung höchstens 11999 Bytes. Die kürzeste Zeile besteht "
        "aus "
        "<row/> und den Attributen, die einen Wert haben müssen, mit einem Zeichen.",
        "The server reads at most 11999 bytes of a connection. The shortest row consists of <row/> "
        "and the attributes that must have a value, with one character."}};

constexpr Rule kMustHaveValue = {
    .Id = "musthavevalue-unknown",
    .Level = Severity::Warning,
    .Title = {"musthavevalue sagt weder ja noch nein", "musthavevalue says neither yes nor no"},
    .Problem = {"musthavevalue=\"{0}\" ist unbekannt{1}", "musthavevalue=\"{0}\" is unknown{1}"},
    .Effect = {"Es gilt als nein: Blöcke ohne diesen Wert werden angenommen.",
               "It counts as no: blocks without this value are accepted."},
    .Advice = {"\"yes\" oder \"no\"", "\"yes\" or \"no\""},
    .Explanation = {
        "Ja heißen genau YES, Yes, yes, TRUE, True, true und 1. Alles andere heißt nein.",
        "Yes is exactly YES, Yes, yes, TRUE, True, true and 1. Everything else means no."}};

constexpr Rule kImpossible = {
    .Id = "attribute-name-impossible",
    .Level = Severity::Error,
    .Title = {"Ein Attributname, den keine Zeile haben kann",
              "An attribute's name that no row can have"},
    .Problem = {"\"{0}\" kann nicht der Name eines XML-Attributs sein",
                "\"{0}\" cannot be the name of an XML attribute"},
    .Effect = {"Sein Wert ist immer leer; mit musthavevalue weist er jeden Block ab.",
               "Its value is always empty; with musthavevalue it refuses every block."},
    .Advice = {"einen Namen aus Buchstaben und Ziffern, vorn ein Buchstabe",
               "a name of letters and digits that begins with a letter"},
    .Explanation = {
        "Werte werden unter dem Namen des Attributs in der Zeile gesucht. Ein leerer Name oder "
        "einer, "
        "den XML nicht zulässt, findet nie einen.",
        "Values are looked for by the name of the row's attribute. An empty name, or one that XML "
        "does not allow, never finds one."}};

constexpr Rule kAssignedTwice = {
    .Id = "attribute-assigned-twice",
    .Level = Severity::Warning,
    .Title = {"Zwei Attribute sind demselben Element zugewiesen",
              "Two attributes are assigned to the same element"},
    .Problem = {"dem Element \"{1}\" ist in Zeile {2} auch \"{3}\" zugewiesen",
                "\"{3}\" is assigned to the element \"{1}\" as well, in line {2}"},
    .Effect = {"Es gilt das letzte: \"{3}\" wird gesprochen, \"{0}\" nicht.",
               "The last one counts: \"{3}\" is spoken, \"{0}\" is not."},
    .Advice = {"je Attribut ein eigenes Element", "an element of its own for each attribute"},
    .Explanation = {
        "Ein Element spricht genau ein Attribut: das letzte, dessen assignto seine id nennt.",
        "An element says exactly one attribute: the last whose assignto names its id."}};

constexpr Rule kAssignment = {
    .Id = "assignment-unknown",
    .Level = Severity::Warning,
    .Title = {"assignto nennt kein temp-Element", "assignto names no temp element"},
    .Problem = {"es gibt kein temp-Element \"{0}\"{1}", "there is no temp element \"{0}\"{1}"},
    .Effect = {"Der Wert wird nie gesprochen.", "The value is never spoken."},
    .Advice = {"die id eines Elements mit trait=\"temp\", oder kein assignto",
               "the id of an element with trait=\"temp\", or no assignto"},
    .Explanation = {
        "Nur temp-Elemente sprechen Werte. Ein Attribut, das nur Fälle ansehen, braucht kein "
        "assignto.",
        "Only temp elements say values. An attribute that only cases look at needs no assignto."}};

constexpr Rule kRules[] = {kMinAboveMax,   kNoRows,     kNegative,      kTooMany,
                           kMustHaveValue, kImpossible, kAssignedTwice, kAssignment};

/// As many bytes of a block are read.
constexpr std::size_t kLargestBlock = 11999;

/// How many of the shortest rows that are accepted fit into a block.
std::size_t MostRows(const Document& document) {
  constexpr std::string_view kShortestRoot = "<r></r>";
  std::size_t row = std::string_view("<row/>").size();
  for (const std::string& name : RequiredAttributes(document))
    row += std::string_view(" =\"x\"").size() + name.size();
  return (kLargestBlock - kShortestRoot.size()) / row;
}

void CheckRows(const Document& document, const Element& format, Report& report) {
  bool negative = false;
  for (const char* name : {"minrows", "maxrows"}) {
    if (format.Number(name) >= 0) continue;
    negative = true;
    AddFinding(report, kNegative, PlaceOf(document, format, name), name, format.Number(name),
               static_cast<unsigned int>(format.Number(name)));
  }
  if (negative) return;
  const int least = format.Number("minrows");
  const int most = format.Number("maxrows");
  if (least > most) {
    AddFinding(report, kMinAboveMax, PlaceOf(document, format, "minrows"), least, most);
  } else if (most == 0) {
    AddFinding(report, kNoRows, PlaceOf(document, format, "maxrows"));
  } else if (static_cast<std::size_t>(least) > MostRows(document)) {
    AddFinding(report, kTooMany, PlaceOf(document, format, "minrows"), least, MostRows(document));
  }
}

void CheckMustHaveValue(const Document& document, const Element& attribute, Report& report) {
  static constexpr const char* kNo[] = {"no", "No", "NO", "false", "False", "FALSE", "0"};
  const std::string word = attribute.Value("musthavevalue");
  if (word.empty() || IsYes(word)) return;
  if (std::find(std::begin(kNo), std::end(kNo), word) != std::end(kNo)) return;
  Suggestions words({"yes", "no", "true", "false"});
  AddFinding(report, kMustHaveValue, PlaceOf(document, attribute, "musthavevalue"), word,
             words.Question(word, report.Lang()));
}

bool CanBeAttribute(const std::string& name) {
  return xmlValidateName(reinterpret_cast<const xmlChar*>(name.c_str()), 0) == 0;
}

std::set<std::string> TempElements(const Document& document) {
  std::vector<const Element*> languages = NamedLanguages(document);
  if (SharedLanguage(document) != nullptr) languages.push_back(SharedLanguage(document));
  std::set<std::string> ids;
  for (const Element* language : languages) {
    for (const Element* element : language->ChildrenCalled("Element")) {
      if (MayHaveTrait(*element, "temp")) ids.insert(element->Value("id"));
    }
  }
  return ids;
}

void CheckAssignments(const Document& document, Report& report) {
  const std::vector<const Element*> attributes = RowAttributes(document);
  std::map<std::string, const Element*> last;
  for (const Element* attribute : attributes)
    last[attribute->Value("assignto")] = attribute;
  Suggestions elements(TempElements(document));
  for (const Element* attribute : attributes) {
    const std::string id = attribute->Value("assignto");
    if (id.empty()) continue;
    const Element& winner = *last.at(id);
    if (!elements.Has(id)) {
      AddFinding(report, kAssignment, PlaceOf(document, *attribute, "assignto"), id,
                 elements.Question(id, report.Lang()));
    } else if (&winner != attribute) {
      AddFinding(report, kAssignedTwice, PlaceOf(document, *attribute, "assignto"),
                 attribute->Value("name"), id, winner.At.Line, winner.Value("name"));
    }
  }
}

void Check(const CheckInput& input, Report& report) {
  if (input.Document == nullptr || input.Document->Format() == nullptr) return;
  const Document& document = *input.Document;
  CheckRows(document, *document.Format(), report);
  for (const Element* attribute : RowAttributes(document)) {
    CheckMustHaveValue(document, *attribute, report);
    const std::string name = attribute->Value("name");
    if (CanBeAttribute(name)) continue;
    AddFinding(report, kImpossible, PlaceOf(document, *attribute, "name"), name);
  }
  if (document.References() != nullptr) CheckAssignments(document, report);
}

}  // namespace

RuleGroup FormatRules() {
  return {{"Das Format der Datenblöcke", "The format of data blocks"}, kRules, Check};
}

}  // namespace tools
