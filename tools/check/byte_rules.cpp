#include <string>
#include <vector>

#include "check/document_index.h"
#include "check/rule_groups.h"
#include "check/sample_values.h"

namespace tools {

namespace {

constexpr Rule kUmlautCountsTwo = {
    .Id = "case-umlaut-counts-two",
    .Level = Severity::Warning,
    .Title = {"Der verglichene Teil zählt Zeichen statt Bytes",
              "The part that is compared counts characters instead of bytes"},
    .Problem = {"value=\"{0}\" hat {1} Bytes, der Teil von begin bis end nur {2}: Umlaute zählen "
                "doppelt",
                "value=\"{0}\" has {1} bytes, the part from begin to end only {2}: umlauts count "
                "two"},
    .Effect = {"Beide sind nie gleich: eq ist nie erfüllt, ne immer.",
               "The two are never equal: eq never holds, ne always."},
    .Advice = {"end=\"{3}\"", "end=\"{3}\""},
    .Explanation = {"begin und end zählen Bytes. Buchstaben wie ä, ö, ü, ß und é haben zwei, "
                    "manche Zeichen drei "
                    "oder vier.",
                    "begin and end count bytes. Letters like ä, ö, ü, ß and é have two, some "
                    "characters three or "
                    "four."}};

constexpr Rule kLengthCountsBytes = {
    .Id = "length-counts-bytes",
    .Level = Severity::Warning,
    .Title = {"Ein Längenfall zählt Bytes, und der Wert kann Umlaute haben",
              "A case on a length counts bytes, and the value can have umlauts"},
    .Problem = {"strlen=\"{0}\" zählt Bytes, und Werte wie \"{1}\" haben mehr Bytes als Zeichen",
                "strlen=\"{0}\" counts bytes, and values like \"{1}\" have more bytes than "
                "characters"},
    .Effect = {"\"{1}\" hat für ihn die Länge {2}, nicht {3}.",
               "To it \"{1}\" has length {2}, not {3}."},
    .Advice =
        {"nur prüfen, ob es einen Wert gibt (operator=\"gt\" value=\"0\"), oder Werte ohne "
         "Umlaute",
         "only test whether there is a value (operator=\"gt\" value=\"0\"), or values without "
         "umlauts"},
    .Explanation = {
        "strlen vergleicht die Zahl der Bytes. Gemeldet wird ein Fall, wenn ein Musterblock, ein "
        "Lexikon oder ein anderer Fall zeigt, dass das Attribut Zeichen mit mehreren Bytes trägt.",
        "strlen compares the number of bytes. A case is reported if a sample block, a lexicon or "
        "another case shows that the attribute carries characters of several bytes."}};

constexpr Rule kCutsCharacter = {
    .Id = "case-cuts-character",
    .Level = Severity::Warning,
    .Title = {"begin oder end liegt mitten in einem Zeichen", "begin or end is inside a character"},
    .Problem = {"{0} schneidet \"{1}\" mitten in einem Zeichen",
                "{0} cuts \"{1}\" inside a character"},
    .Effect = {"Er vergleicht ein halbes Zeichen: Der Fall trifft nicht, was er soll.",
               "It compares half a character: the case does not find what it should."},
    .Advice = {"Stellen, die ganze Zeichen umfassen; ä, ö, ü, ß haben zwei Bytes",
               "positions that take in whole characters; ä, ö, ü, ß have two bytes"},
    .Explanation = {
        "begin und end zählen Bytes. Gemeldet wird ein Fall, wenn ein Wert eines Musterblocks oder "
        "der Vergleichswert eines anderen Falls an dieser Stelle mitten in einem Zeichen ist.",
        "begin and end count bytes. A case is reported if a value of a sample block, or the value "
        "that another case compares with, is inside a character at this position."}};

constexpr Rule kHasUmlaut = {
    .Id = "case-has-umlaut",
    .Level = Severity::Warning,
    .Title = {"has oder hasnot mit einem Zeichen aus mehreren Bytes",
              "has or hasnot with a character of several bytes"},
    .Problem = {"\"{1}\" besteht aus {2} Bytes, und operator=\"{0}\" sucht jedes einzeln",
                "\"{1}\" consists of {2} bytes, and operator=\"{0}\" looks for each of them"},
    .Effect = {"Auch andere Umlaute gelten als gefunden: Sie teilen sich ein Byte.",
               "Other umlauts count as found as well: they share a byte."},
    .Advice = {"operator=\"eq\" an fester Stelle, oder ein Zeichen ohne Umlaut",
               "operator=\"eq\" at a fixed position, or a character without an umlaut"},
    .Explanation = {
        "has und hasnot vergleichen Bytes. Fast alle deutschen Umlaute beginnen mit demselben "
        "Byte: has mit \"ä\" trifft auch \"ö\" und \"ß\".",
        "has and hasnot compare bytes. Nearly all German umlauts begin with the same byte: has "
        "with "
        "\"ä\" also finds \"ö\" and \"ß\"."}};

constexpr Rule kRules[] = {kUmlautCountsTwo, kLengthCountsBytes, kCutsCharacter, kHasUmlaut};

void CheckHas(const Document& document, const Element& caseElement, Report& report) {
  const std::string word = caseElement.Value("operator");
  const std::string value = caseElement.Value("value");
  if ((word != "has" && word != "hasnot") || CharacterCount(value) != 1 || IsAscii(value)) return;
  AddFinding(report, kHasUmlaut, PlaceOf(document, caseElement, "value"), word, value,
             value.size());
}

void CheckComparison(const Document& document, const Element& caseElement, Report& report) {
  const std::string word = caseElement.Value("operator");
  const std::string value = caseElement.Value("value");
  const int begin = caseElement.Number("begin");
  const int end = caseElement.Number("end");
  if ((word != "eq" && word != "ne") || begin < 0 || end < begin) return;
  const auto length = static_cast<std::size_t>(end - begin) + 1;
  if (value.size() == length || CharacterCount(value) != length) return;
  AddFinding(report, kUmlautCountsTwo, PlaceOf(document, caseElement, "value"), value, value.size(),
             length, begin + static_cast<int>(value.size()) - 1);
}

/// Whether a length counted in characters could give another answer. "Is there a value?" does not.
bool DependsOnLength(const Element& caseElement) {
  const int length = caseElement.Number("value");
  const std::string word = caseElement.Value("operator");
  return length > 1 || (length == 1 && word != "ge" && word != "lt");
}

void CheckLength(const Document& document, const Element& caseElement, const SampleValues& samples,
                 Report& report) {
  const std::string attribute = TestedAttribute(caseElement);
  const std::string* sample = samples.WithWideCharacters(attribute);
  if (sample == nullptr || !DependsOnLength(caseElement)) return;
  AddFinding(report, kLengthCountsBytes, PlaceOf(document, caseElement, "strlen"), attribute,
             *sample, sample->size(), CharacterCount(*sample));
}

bool IsCut(const std::string& value, int position) {
  return position > 0 && static_cast<std::size_t>(position) < value.size() &&
         IsInsideCharacter(value[static_cast<std::size_t>(position)]);
}

void CheckCut(const Document& document, const Element& caseElement, const SampleValues& samples,
              Report& report) {
  const int begin = caseElement.Number("begin");
  const int end = caseElement.Number("end");
  for (const PlacedText& sample : samples.Of(TestedAttribute(caseElement))) {
    const bool beginCuts = IsCut(sample.Text, begin - sample.Position);
    const bool endCuts = end >= begin && IsCut(sample.Text, end + 1 - sample.Position);
    // Its own value, which is too long by the umlauts, is told of by another rule.
    if ((!beginCuts && !endCuts) || sample.Source == &caseElement) continue;
    const char* name = beginCuts ? "begin" : "end";
    AddFinding(report, kCutsCharacter, PlaceOf(document, caseElement, name), name, sample.Text);
    return;
  }
}

void Check(const CheckInput& input, Report& report) {
  if (input.Document == nullptr || input.Document->Assembly() == nullptr) return;
  const Document& document = *input.Document;
  const SampleValues samples(input.Station, document);
  for (const Element* caseElement : Cases(document)) {
    const std::string_view test = TestOf(*caseElement);
    if (test.empty() || !IsAcceptedTest(*caseElement)) continue;
    if (test == "strlen") CheckLength(document, *caseElement, samples, report);
    if (test != "substr") continue;
    CheckCut(document, *caseElement, samples, report);
    if (!ComparesTexts(*caseElement)) continue;
    CheckHas(document, *caseElement, report);
    CheckComparison(document, *caseElement, report);
  }
}

}  // namespace

RuleGroup ByteRules() {
  return {{"Bytes und Zeichen", "Bytes and characters"}, kRules, Check};
}

}  // namespace tools
