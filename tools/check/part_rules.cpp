#include <set>
#include <string>
#include <vector>

#include "check/document_index.h"
#include "check/rule_groups.h"
#include "check/suggestions.h"

namespace tools {

namespace {

constexpr Rule kTextOrder = {
    .Id = "case-text-order",
    .Level = Severity::Error,
    .Title = {"lt, gt, le oder ge an einem Text", "lt, gt, le or ge of a text"},
    .Problem = {"operator=\"{0}\" vergleicht keine Texte", "operator=\"{0}\" compares no texts"},
    .Effect = {"Der Fall \"{1}\" ist nie erfüllt.", "The case \"{1}\" never holds."},
    .Advice = {"type=\"number\", oder operator=\"eq\", \"ne\", \"has\" oder \"hasnot\"",
               "type=\"number\", or operator=\"eq\", \"ne\", \"has\" or \"hasnot\""},
    .Explanation = {
        "Größer und kleiner gibt es nur für Zahlen. Mit type=\"string\" wird der Fall zwar "
        "angenommen, ist aber nie erfüllt.",
        "Greater and less are for numbers only. With type=\"string\" the case is accepted, but "
        "never holds."}};

constexpr Rule kBeginAfterEnd = {
    .Id = "case-begin-after-end",
    .Level = Severity::Error,
    .Title = {"begin liegt hinter end", "begin is behind end"},
    .Problem = {"begin ist {0}, end {1}", "begin is {0}, end {1}"},
    .Effect = {"Der Fall \"{2}\" ist nie erfüllt.", "The case \"{2}\" never holds."},
    .Advice = {"end nicht kleiner als begin, oder end=\"-1\" für bis zum Ende; ohne end ist es 0",
               "end not less than begin, or end=\"-1\" for up to the end; without end it is 0"},
    .Explanation = {
        "begin und end sind die erste und die letzte Stelle (von 0 an). -1 als end heißt bis zum "
        "Ende; andere negative Zahlen liegen vor jedem begin.",
        "begin and end are the first and the last position (from 0 on). -1 as end means up to the "
        "end; other negative numbers are in front of every begin."}};

constexpr Rule kBeginNegative = {
    .Id = "case-begin-negative",
    .Level = Severity::Error,
    .Title = {"begin ist negativ", "begin is negative"},
    .Problem = {"begin ist {0}", "begin is {0}"},
    .Effect = {"Er gibt jeden Datenblock auf, dessen Wert von \"{1}\" bis end reicht.",
               "It gives up every data block whose value of \"{1}\" reaches up to end."},
    .Advice = {"begin=\"0\"; von hinten gezählt wird nicht",
               "begin=\"0\"; nothing counts from the end"},
    .Explanation = {
        "Eine Stelle vor dem Anfang gibt es nicht: Die Prüfung bricht mit einem Fehler ab, und mit "
        "ihr der ganze Block, alle Zeilen und Sprachen.",
        "There is no position in front of the beginning: the test ends by an error, and with it "
        "the "
        "whole block, all rows and languages."}};

constexpr Rule kOpenEnd = {
    .Id = "case-open-end",
    .Level = Severity::Error,
    .Title = {"Ein kurzer Wert reicht nicht bis zum begin eines Falls mit offenem Ende",
              "A short value does not reach the begin of a case with an open end"},
    .Problem =
        {"end=\"-1\" mit begin=\"{0}\": ein Wert von \"{1}\" mit weniger als {0} Bytes reicht "
         "nicht so weit",
         "end=\"-1\" with begin=\"{0}\": a value of \"{1}\" with less than {0} bytes does "
         "not reach that far"},
    .Effect = {"Er gibt den ganzen Datenblock auf: Keine seiner Ansagen wird abgespielt.",
               "It gives up the whole data block: none of its announcements is played."},
    .Advice = {"ein festes end statt -1: dann ist der Fall bei kurzen Werten nur nicht erfüllt",
               "a fixed end instead of -1: then the case just does not hold for short values"},
    .Explanation = {
        "Mit offenem Ende wird der Wert ab begin genommen. Ist er kürzer (auch leer), bricht die "
        "Prüfung mit einem Fehler ab, und mit ihr der ganze Block. Mit festem end ist der Fall bei "
        "kurzen Werten nicht erfüllt. begin=\"1\" ist sicher, wenn das Attribut einen Wert haben "
        "muss.",
        "With an open end the value is taken from begin on. If it is shorter (or empty), the test "
        "ends by an error, and with it the whole block. With a fixed end the case does not hold "
        "for "
        "short values. begin=\"1\" is safe if the attribute must have a value."}};

constexpr Rule kEndMissing = {
    .Id = "case-end-missing",
    .Level = Severity::Warning,
    .Title = {"Ein Fall mit substr hat kein end", "A case with substr has no end"},
    .Problem = {"der Fall \"{0}\" hat kein end", "the case \"{0}\" has no end"},
    .Effect = {"Es ist dann 0: Geprüft wird nur das erste Byte.",
               "It is 0 then: only the first byte is tested."},
    .Advice = {"end=\"-1\" für den ganzen Wert, end=\"0\" für das erste Zeichen",
               "end=\"-1\" for the whole value, end=\"0\" for the first character"},
    .Explanation = {"Fehlende Zahlen sind 0. end ist die letzte Stelle, sie gehört dazu.",
                    "Missing numbers are 0. end is the last position and belongs to the part."}};

constexpr Rule kUndeclared = {
    .Id = "case-attribute-undeclared",
    .Level = Severity::Warning,
    .Title = {"Ein Fall prüft ein Attribut, das RBLFormat nicht nennt",
              "A case tests an attribute that RBLFormat does not name"},
    .Problem = {"RBLFormat hat kein Attribut \"{0}\"{1}", "RBLFormat has no attribute \"{0}\"{1}"},
    .Effect = {"Er prüft, was die Zeile unter diesem Namen trägt; meist ist das nichts.",
               "It tests what the row has under this name; mostly that is nothing."},
    .Advice = {"<Attribute name=\"{0}\"/> in RBLFormat, oder den richtigen Namen",
               "<Attribute name=\"{0}\"/> in RBLFormat, or the right name"},
    .Explanation = {
        "Fälle sehen die Attribute der Zeile an, auch solche, die RBLFormat nicht nennt. Ein "
        "vertippter Name fällt deshalb nicht auf: Sein Wert ist leer.",
        "Cases look at the attributes of the row, those that RBLFormat does not name as well. So a "
        "mistyped name does not show: its value is empty."}};

constexpr Rule kHasSeveral = {
    .Id = "case-has-several",
    .Level = Severity::Warning,
    .Title = {"has oder hasnot mit mehreren Zeichen", "has or hasnot with several characters"},
    .Problem = {"operator=\"{0}\" sucht jedes einzelne Zeichen von \"{1}\", nicht das Wort",
                "operator=\"{0}\" looks for every single character of \"{1}\", not for the word"},
    .Effect = {"Schon eines der Zeichen genügt.", "One of the characters is enough."},
    .Advice =
        {"für ein Wort: operator=\"eq\" mit begin und end; für mehrere Zeichen: je Zeichen ein "
         "Fall, mit OR verknüpft",
         "for a word: operator=\"eq\" with begin and end; for several characters: a case for "
         "each, combined by OR"},
    .Explanation = {
        "has ist erfüllt, wenn irgendein Zeichen von value vorkommt, hasnot, wenn keines vorkommt. "
        "Nach einem Wort sucht der Server nicht: has mit \"ICE\" trifft auch \"RE\".",
        "has holds if any character of value occurs, hasnot if none does. The server does not look "
        "for a word: has with \"ICE\" also finds \"RE\"."}};

constexpr Rule kHasEmpty = {
    .Id = "case-has-empty",
    .Level = Severity::Warning,
    .Title = {"has oder hasnot ohne value", "has or hasnot without a value"},
    .Problem = {"operator=\"{0}\" hat kein Zeichen zu suchen",
                "operator=\"{0}\" has no character to look for"},
    .Effect = {"has ist dann nie erfüllt, hasnot immer.", "has never holds then, hasnot always."},
    .Advice = {"value=\"X\"", "value=\"X\""},
    .Explanation = {"Gesucht werden die Zeichen von value. Ohne ein Zeichen wird nichts gefunden.",
                    "The characters of value are looked for. Without one nothing is found."}};

constexpr Rule kNeverFits = {
    .Id = "case-value-never-fits",
    .Level = Severity::Warning,
    .Title = {"value hat nicht so viele Bytes wie der verglichene Teil",
              "value has not as many bytes as the part that it is compared with"},
    .Problem = {"value=\"{0}\" hat {1} Bytes, der Teil von begin bis end {2}",
                "value=\"{0}\" has {1} bytes, the part from begin to end {2}"},
    .Effect = {"Beide sind nie gleich: eq ist nie erfüllt, ne immer.",
               "The two are never equal: eq never holds, ne always."},
    .Advice = {"end=\"{3}\"", "end=\"{3}\""},
    .Explanation = {
        "eq und ne vergleichen den Teil von begin bis end (beide eingeschlossen) mit value, Byte "
        "für "
        "Byte. Verschieden lange Texte sind nie gleich. (ne gilt nur, wenn der Wert bis end "
        "reicht.)",
        "eq and ne compare the part from begin to end (both included) with value, byte by byte. "
        "Texts of different length are never equal. (ne holds only if the value reaches up to "
        "end.)"}};

constexpr Rule kRules[] = {kTextOrder,  kBeginAfterEnd, kBeginNegative, kOpenEnd,  kEndMissing,
                           kUndeclared, kHasSeveral,    kHasEmpty,      kNeverFits};

class PartCheck {
 public:
  PartCheck(const Document& document, const Element& caseElement, Report& report)
      : document_(document),
        case_(caseElement),
        report_(report),
        begin_(caseElement.Number("begin")),
        end_(caseElement.Number("end")),
        operator_(caseElement.Value("operator")),
        value_(caseElement.Value("value")) {}

  void CheckBounds(const std::set<std::string>& required) {
    const std::string attribute = TestedAttribute(case_);
    if (!case_.Has("end") && begin_ == 0) {
      AddFinding(report_, kEndMissing, PlaceOf(document_, case_), case_.Value("id"));
    } else if (end_ != -1 && begin_ > end_) {
      AddFinding(report_, kBeginAfterEnd, At("begin"), begin_, end_, case_.Value("id"));
    } else if (begin_ < 0) {
      AddFinding(report_, kBeginNegative, At("begin"), begin_, attribute);
    } else if (end_ == -1 && begin_ > (required.contains(attribute) ? 1 : 0)) {
      AddFinding(report_, kOpenEnd, At("begin"), begin_, attribute);
    }
  }

  void CheckText() {
    if (operator_ == "has" || operator_ == "hasnot") CheckCharacters();
    if (operator_ == "eq" || operator_ == "ne") CheckLength();
    for (const char* order : {"lt", "gt", "le", "ge"}) {
      if (operator_ != order) continue;
      AddFinding(report_, kTextOrder, At("operator"), operator_, case_.Value("id"));
    }
  }

 private:
  Place At(std::string_view attribute) const { return PlaceOf(document_, case_, attribute); }

  void CheckCharacters() {
    if (value_.empty()) {
      AddFinding(report_, kHasEmpty, At("value"), operator_);
    } else if (CharacterCount(value_) > 1) {
      AddFinding(report_, kHasSeveral, At("value"), operator_, value_);
    }
  }

  /// Where the characters would fit and only the bytes do not, the rule about umlauts tells it.
  void CheckLength() {
    if (begin_ < 0 || end_ < begin_) return;
    const auto length = static_cast<std::size_t>(end_ - begin_) + 1;
    if (!case_.Has("end") || value_.size() == length || CharacterCount(value_) == length) return;
    AddFinding(report_, kNeverFits, At("value"), value_, value_.size(), length,
               begin_ + static_cast<int>(value_.size()) - 1);
  }

  const Document& document_;
  const Element& case_;
  Report& report_;
  int begin_;
  int end_;
  std::string operator_;
  std::string value_;
};

void Check(const CheckInput& input, Report& report) {
  if (input.Document == nullptr) return;
  const Document& document = *input.Document;
  const std::set<std::string> required = RequiredAttributes(document);
  std::set<std::string> names;
  for (const Element* attribute : RowAttributes(document))
    names.insert(attribute->Value("name"));
  Suggestions attributes(std::move(names));
  for (const Element* caseElement : Cases(document)) {
    const std::string_view test = TestOf(*caseElement);
    if (test.empty()) continue;
    const std::string name = TestedAttribute(*caseElement);
    if (document.Format() != nullptr && !attributes.Has(name)) {
      AddFinding(report, kUndeclared, PlaceOf(document, *caseElement, test), name,
                 attributes.Question(name, report.Lang()));
    }
    if (test != "substr" || !IsAcceptedTest(*caseElement)) continue;
    PartCheck check(document, *caseElement, report);
    check.CheckBounds(required);
    if (ComparesTexts(*caseElement)) check.CheckText();
  }
}

}  // namespace

RuleGroup PartRules() {
  return {{"Was ein Fall prüft", "What a case tests"}, kRules, Check};
}

}  // namespace tools
