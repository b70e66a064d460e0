#include <set>
#include <string>
#include <vector>

#include "check/case_graph.h"
#include "check/document_index.h"
#include "check/rule_groups.h"
#include "check/suggestions.h"

namespace tools {

namespace {

constexpr Rule kNoneSimple = {
    .Id = "cases-none-simple",
    .Level = Severity::Error,
    .Title = {"Kein einziger Fall prüft einen Wert", "Not a single case tests a value"},
    .Problem = {"es gibt keinen gültigen <Case> mit substr oder strlen",
                "there is no valid <Case> with substr or strlen"},
    .Effect = {"Er meldet nichts und öffnet keinen Port.", "It says nothing and opens no port."},
    .Advice = {"mindestens einen Fall wie <Case id=\"hasTrack\" strlen=\"track\" operator=\"gt\" "
               "value=\"0\"/>",
               "at least one case like <Case id=\"hasTrack\" strlen=\"track\" operator=\"gt\" "
               "value=\"0\"/>"},
    .Explanation = {
        "Ohne einen angenommenen Fall, der einen Wert prüft, gilt das Lesen der Fälle als "
        "gescheitert, auch wenn die Ansagen gar keine Bedingungen haben.",
        "Without an accepted case that tests a value the reading of the cases counts as failed, "
        "even if the announcements have no conditions."}};

constexpr Rule kOperatorUnknown = {
    .Id = "operator-unknown",
    .Level = Severity::Error,
    .Title = {"Ein Fall hat einen unbekannten Operator", "A case has an unknown operator"},
    .Problem = {"operator=\"{0}\" ist hier unbekannt{1}", "operator=\"{0}\" is unknown here{1}"},
    .Effect = {"Der Fall \"{2}\" ist nie erfüllt.", "The case \"{2}\" never holds."},
    .Advice = {"eines von: {3}", "one of: {3}"},
    .Explanation = {
        "Ein Fall mit substr oder strlen und einem anderen oder keinem Operator wird verworfen und "
        "kommt als Verknüpfung ohne Verweise zurück, die nie erfüllt ist. Eine Verknüpfung mit "
        "unbekanntem Operator ist nie erfüllt; ohne operator ist sie AND. Fälle, die auf ihn "
        "verweisen, rechnen damit weiter.",
        "A case with substr or strlen and another or no operator is rejected and comes back as a "
        "combination without references, which never holds. A combination with an unknown operator "
        "never holds; without operator it is AND. Cases that refer to it go on with that."}};

constexpr Rule kTypeUnknown = {
    .Id = "type-unknown",
    .Level = Severity::Error,
    .Title = {"type ist weder string noch number", "type is neither string nor number"},
    .Problem = {"type=\"{0}\" ist unbekannt{1}", "type=\"{0}\" is unknown{1}"},
    .Effect = {"Der Fall \"{2}\" ist nie erfüllt; der Server meldet \"Falsche Fallbeschreibung "
               "(XML)\".",
               "The case \"{2}\" never holds; the server prints \"Falsche Fallbeschreibung "
               "(XML)\"."},
    .Advice = {"\"string\", \"String\", \"number\" oder \"Number\"",
               "\"string\", \"String\", \"number\" or \"Number\""},
    .Explanation = {
        "Ein Fall mit substr braucht type. Nur die vier Schreibungen string, String, number und "
        "Number gelten; jede andere und ein fehlendes type machen den Fall unerfüllbar.",
        "A case with substr needs type. Only the four spellings string, String, number and Number "
        "count; with any other and without type the case can never hold."}};

constexpr Rule kRejected = {
    .Id = "case-rejected",
    .Level = Severity::Error,
    .Title = {"has oder hasnot an einem Fall, der keinen Text prüft",
              "has or hasnot of a case that tests no text"},
    .Problem = {"operator=\"{0}\" gibt es nur für substr mit type=\"string\"",
                "operator=\"{0}\" is for substr with type=\"string\" only"},
    .Effect = {"Er verwirft den Fall \"{1}\", der als leerer zurückkommt und nie erfüllt ist.",
               "It rejects the case \"{1}\", which comes back as an empty one and never holds."},
    .Advice = {"type=\"string\", oder einen der Operatoren lt gt le ge ne eq",
               "type=\"string\", or one of the operators lt gt le ge ne eq"},
    .Explanation = {
        "Zahlen und Längen werden verglichen, nicht durchsucht. Der Fall wird ohne Meldung "
        "verworfen; beim Lesen der Verknüpfungen entsteht unter seiner id eine ohne Verweise.",
        "Numbers and lengths are compared, not searched. The case is rejected without a message; "
        "when the combinations are read, one without references comes up under its id."}};

constexpr Rule kMixed = {
    .Id = "case-mixed",
    .Level = Severity::Warning,
    .Title = {"Ein Fall prüft einen Wert und verweist auf andere Fälle",
              "A case tests a value and refers to other cases"},
    .Problem = {"der Fall \"{0}\" hat {1} und enthält zugleich Verweise",
                "the case \"{0}\" has {1} and contains references as well"},
    .Effect = {"Er prüft nur den Wert und übergeht die Verweise.",
               "It tests the value only and passes over the references."},
    .Advice = {"zwei Fälle: einen für den Wert und einen, der verknüpft",
               "two cases: one for the value and one that combines"},
    .Explanation = {
        "substr oder strlen macht einen Fall zur Prüfung eines Wertes. Verweise darin zählen nur, "
        "wenn diese Prüfung verworfen wird.",
        "substr or strlen makes a case a test of a value. References inside count only if that "
        "test "
        "is rejected."}};

constexpr Rule kEmpty = {
    .Id = "case-empty",
    .Level = Severity::Warning,
    .Title = {"Ein Fall ohne Prüfung und ohne Verweise", "A case without a test and references"},
    .Problem = {"der Fall \"{0}\" hat weder substr noch strlen noch Verweise",
                "the case \"{0}\" has neither substr nor strlen nor references"},
    .Effect = {"Er ist nie erfüllt.", "It never holds."},
    .Advice = {"<Case ref=\"...\"/> hinein, oder substr oder strlen",
               "<Case ref=\"...\"/> inside, or substr or strlen"},
    .Explanation = {"Eine Verknüpfung ohne Verweise ist nie erfüllt, auch nicht mit NOR oder NOT.",
                    "A combination without references never holds, not even with NOR or NOT."}};

constexpr Rule kWithoutId = {
    .Id = "case-without-id",
    .Level = Severity::Warning,
    .Title = {"Ein Fall ohne id", "A case without an id"},
    .Problem = {"<Case> hat keine id", "<Case> has no id"},
    .Effect = {"Keine Bedingung kann ihn nennen.", "No condition can name it."},
    .Advice = {"id=\"NAME\"", "id=\"NAME\""},
    .Explanation = {
        "Ein Condition mit leerem Namen gilt immer, auch wenn es einen Fall mit leerer id gibt.",
        "A Condition with an empty name always holds, even if there is a case with an empty id."}};

constexpr Rule kDuplicate = {
    .Id = "duplicate-case",
    .Level = Severity::Warning,
    .Title = {"Zwei Fälle mit derselben id", "Two cases with the same id"},
    .Problem = {"den Fall \"{0}\" gibt es noch einmal in Zeile {1}",
                "the case \"{0}\" comes once more in line {1}"},
    .Effect = {"Es gilt der in Zeile {1}.", "The one in line {1} counts."},
    .Advice = {"jede id nur einmal", "every id once only"},
    .Explanation = {
        "Von mehreren Prüfungen mit einer id gilt die letzte. Eine Verknüpfung mit der id einer "
        "Prüfung wird verworfen. Von mehreren Verknüpfungen gilt die, deren Verweise zuerst "
        "aufgelöst sind.",
        "Of several tests with one id the last counts. A combination with the id of a test is "
        "dropped. Of several combinations the one whose references are resolved first counts."}};

constexpr Rule kRefUnknown = {
    .Id = "case-ref-unknown",
    .Level = Severity::Error,
    .Title = {"Ein Verweis auf einen Fall, den es nicht gibt",
              "A reference to a case that does not exist"},
    .Problem = {"es gibt keinen Fall \"{0}\"{1}", "there is no case \"{0}\"{1}"},
    .Effect =
        {"Er verwirft den Fall \"{2}\" und alle, die auf ihn verweisen: Sie sind nie erfüllt.",
         "It drops the case \"{2}\" and all that refer to it: they never hold."},
    .Advice = {"ref mit der id eines anderen Falls", "ref with the id of another case"},
    .Explanation = {
        "Eine Verknüpfung wird erst angenommen, wenn alle ihre Verweise es sind. Fehlt einer, wird "
        "sie ohne Meldung verworfen, und ein verworfener Fall ist nie erfüllt, auch nicht mit NOT.",
        "A combination is accepted only when all its references are. If one is missing, it is "
        "dropped without a message, and a dropped case never holds, not even with NOT."}};

constexpr Rule kCircular = {
    .Id = "case-circular",
    .Level = Severity::Error,
    .Title = {"Fälle verweisen im Kreis aufeinander", "Cases refer to each other in a circle"},
    .Problem = {"der Fall \"{0}\" verweist im Kreis auf sich selbst: {1}",
                "the case \"{0}\" refers to itself in a circle: {1}"},
    .Effect = {"Er verwirft alle Fälle des Kreises und die, die auf sie verweisen: Sie sind nie "
               "erfüllt.",
               "It drops all cases of the circle and those that refer to them: they never hold."},
    .Advice = {"Verweise ohne Kreis", "references without a circle"},
    .Explanation = {
        "Eine Verknüpfung wird erst angenommen, wenn alle ihre Verweise es sind. In einem Kreis "
        "kommt keine an die Reihe.",
        "A combination is accepted only when all its references are. In a circle it is never the "
        "turn of any."}};

constexpr Rule kRules[] = {kNoneSimple, kOperatorUnknown, kTypeUnknown, kRejected,   kMixed,
                           kEmpty,      kWithoutId,       kDuplicate,   kRefUnknown, kCircular};

bool IsForTexts(const std::string& word) {
  return word == "has" || word == "hasnot";
}

void CheckOperator(const Document& document, const Element& caseElement, bool combines,
                   Report& report) {
  const std::set<std::string> words =
      combines ? std::set<std::string>{"AND", "OR", "NOR", "NOT", "NAND"}
               : std::set<std::string>{"lt", "gt", "le", "ge", "ne", "eq", "has", "hasnot"};
  Suggestions suggestions(words);
  const std::string word = caseElement.Value("operator");
  if (suggestions.Has(word)) return;
  AddFinding(report, kOperatorUnknown, PlaceOf(document, caseElement, "operator"), word,
             suggestions.Question(word, report.Lang()), caseElement.Value("id"),
             fmt::format("{}", fmt::join(words, " ")));
}

void CheckTest(const Document& document, const Element& caseElement, Report& report) {
  const std::string id = caseElement.Value("id");
  const std::string type = caseElement.Value("type");
  const std::string word = caseElement.Value("operator");
  const bool isPart = TestOf(caseElement) == "substr";
  Suggestions types({"string", "String", "number", "Number"});
  const bool typeUnknown = isPart && !types.Has(type);
  if (!caseElement.ChildrenCalled("Case").empty()) {
    AddFinding(report, kMixed, PlaceOf(document, caseElement), id, TestOf(caseElement));
    return;
  }
  CheckOperator(document, caseElement, false, report);
  if (typeUnknown) {
    AddFinding(report, kTypeUnknown, PlaceOf(document, caseElement, "type"), type,
               types.Question(type, report.Lang()), id);
  }
  if (IsForTexts(word) && !ComparesTexts(caseElement) && !typeUnknown) {
    AddFinding(report, kRejected, PlaceOf(document, caseElement, "operator"), word, id);
  }
}

void CheckCombination(const Document& document, const Element& caseElement, Report& report) {
  if (caseElement.ChildrenCalled("Case").empty()) {
    AddFinding(report, kEmpty, PlaceOf(document, caseElement), caseElement.Value("id"));
  } else if (caseElement.Has("operator")) {
    CheckOperator(document, caseElement, true, report);
  }
}

void CheckDuplicates(const Document& document, const CaseGraph& graph, Report& report) {
  for (const Element* caseElement : Cases(document)) {
    const std::string id = caseElement->Value("id");
    const Element* winner = graph.WinnerOf(id);
    if (id.empty() || winner == nullptr || winner == caseElement) continue;
    AddFinding(report, kDuplicate, PlaceOf(document, *caseElement, "id"), id, winner->At.Line);
  }
}

void CheckReferences(const Document& document, const CaseGraph& graph, Report& report) {
  Suggestions ids(graph.Ids());
  for (const Element* caseElement : Cases(document)) {
    if (!TestOf(*caseElement).empty()) continue;
    for (const Element* child : caseElement->ChildrenCalled("Case")) {
      const std::string ref = child->Value("ref");
      if (ids.Has(ref)) continue;
      AddFinding(report, kRefUnknown, PlaceOf(document, *child, "ref"), ref,
                 ids.Question(ref, report.Lang()), caseElement->Value("id"));
    }
  }
  for (const std::vector<const Element*>& circle : graph.Circles()) {
    std::string way;
    for (const Element* caseElement : circle)
      way += caseElement->Value("id") + " -> ";
    const std::string id = circle.front()->Value("id");
    AddFinding(report, kCircular, PlaceOf(document, *circle.front()), id, way + id);
  }
}

void Check(const CheckInput& input, Report& report) {
  if (input.Document == nullptr || input.Document->Assembly() == nullptr) return;
  const Document& document = *input.Document;
  if (input.Readers->CasesResult == ReadResult::Refused) {
    AddFinding(report, kNoneSimple, PlaceOf(document, *document.Assembly()));
  }
  for (const Element* caseElement : Cases(document)) {
    if (caseElement->Value("id").empty()) {
      AddFinding(report, kWithoutId, PlaceOf(document, *caseElement));
    }
    if (TestOf(*caseElement).empty()) {
      CheckCombination(document, *caseElement, report);
    } else {
      CheckTest(document, *caseElement, report);
    }
  }
  const CaseGraph graph(document, input.Readers->Cases);
  CheckDuplicates(document, graph, report);
  CheckReferences(document, graph, report);
}

}  // namespace

RuleGroup CaseRules() {
  return {{"Die Fälle", "The cases"}, kRules, Check};
}

}  // namespace tools
