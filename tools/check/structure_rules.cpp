#include <algorithm>
#include <array>
#include <charconv>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

#include "check/document_index.h"
#include "check/rule_groups.h"
#include "check/suggestions.h"

namespace tools {

namespace {

constexpr Rule kSectionMissing = {
    .Id = "section-missing",
    .Level = Severity::Error,
    .Title = {"References, Assembly oder RBLFormat fehlt",
              "References, Assembly or RBLFormat is missing"},
    .Problem = {"<{0}> fehlt in <{1}>", "<{0}> is missing in <{1}>"},
    .Effect = {"Er bricht beim Start ab.", "It ends at start."},
    .Advice = {"<{0}> unmittelbar in <{1}>, ohne Namensraum",
               "<{0}> directly in <{1}>, without a namespace"},
    .Explanation = {
        "Das Wurzelelement muss je ein References und Assembly enthalten, Assembly ein RBLFormat. "
        "Fehlt eines, endet der Server schon beim Start, ohne einen Port zu öffnen.",
        "The root element must have a References and an Assembly, and Assembly an RBLFormat. If "
        "one of them is missing, the server ends at start, before it opens a port."}};

constexpr Rule kSectionIgnored = {
    .Id = "section-ignored",
    .Level = Severity::Warning,
    .Title = {"Ein Abschnitt kommt ein zweites Mal vor", "A section comes a second time"},
    .Problem = {"noch ein <{0}>; das erste steht in Zeile {1}",
                "another <{0}>; the first is in line {1}"},
    .Effect = {"Er liest nur das erste: Was hier steht, gilt nicht.",
               "It reads the first only: nothing that stands here counts."},
    .Advice = {"alles in das erste <{0}>", "everything into the first <{0}>"},
    .Explanation = {
        "Von References, Assembly und RBLFormat zählt jeweils nur das erste. Inhalte eines "
        "zweiten werden ohne Meldung übergangen.",
        "Of References, Assembly and RBLFormat only the first counts. What a second one contains "
        "is passed over without a message."}};

constexpr Rule kUnknownElement = {
    .Id = "unknown-element",
    .Level = Severity::Warning,
    .Title = {"Ein Element, das der Server an dieser Stelle nicht kennt",
              "An element that the server does not know in this place"},
    .Problem = {"<{0}> ist in <{1}> unbekannt{2}", "<{0}> is unknown in <{1}>{2}"},
    .Effect = {"Er übergeht es mit allem, was darin steht.",
               "It passes over it with everything inside."},
    .Advice = {"in <{1}> nur: {3}; sonst das Element entfernen",
               "in <{1}> only: {3}; else remove the element"},
    .Explanation = {
        "Der Server sucht seine Elemente unter ihrem genauen Namen an ihrer Stelle, Groß- und "
        "Kleinschreibung eingeschlossen. Ein anderes Element, ein Element an der falschen Stelle "
        "und eines in einem Namensraum findet er nicht, und er meldet es nicht.",
        "The server looks for its elements by their exact names in their places, upper and lower "
        "case included. It does not find another element, one in the wrong place or one in a "
        "namespace, and it does not say so."}};

constexpr Rule kUnknownAttribute = {
    .Id = "unknown-attribute",
    .Level = Severity::Warning,
    .Title = {"Ein Attribut, das der Server an diesem Element nicht kennt",
              "An attribute that the server does not know of this element"},
    .Problem = {"<{1}> hat kein Attribut \"{0}\"{2}", "<{1}> has no attribute \"{0}\"{2}"},
    .Effect = {"Er liest es nicht; was fehlt, hat seinen Vorgabewert.",
               "It does not read it; what is missing has its default."},
    .Advice = {"an <{1}> nur: {3}; sonst das Attribut entfernen",
               "of <{1}> only: {3}; else remove the attribute"},
    .Explanation = {
        "Attribute werden unter ihrem genauen Namen gesucht, Groß- und Kleinschreibung "
        "eingeschlossen. Ein vertippter Name wirkt, als fehlte das Attribut.",
        "Attributes are looked for by their exact names, upper and lower case included. A mistyped "
        "name has the same effect as a missing attribute."}};

constexpr Rule kWithoutEffect = {
    .Id = "attribute-without-effect",
    .Level = Severity::Hint,
    .Title = {"Ein Attribut, das bei dieser Art von Fall nichts bewirkt",
              "An attribute that does nothing for this kind of case"},
    .Problem = {"\"{0}\" hat bei diesem Fall keine Wirkung ({1})",
                "\"{0}\" has no effect on this case ({1})"},
    .Effect = {"Er liest das Attribut hier nicht.", "It does not read the attribute here."},
    .Advice = {"den Fall ohne \"{0}\"", "the case without \"{0}\""},
    .Explanation = {
        "Ein Längenfall (strlen) sieht sich immer den ganzen Wert an und vergleicht Zahlen: type, "
        "begin und end liest der Server nicht. Eine Verknüpfung liest nur id, operator und ihre "
        "Verweise. Mit substr und strlen zugleich zählt substr allein.",
        "A case on a length (strlen) always looks at the whole value and compares numbers: the "
        "server does not read type, begin and end. A combination reads id, operator and its "
        "references only. Of substr and strlen together substr alone counts."}};

constexpr Rule kNotANumber = {
    .Id = "not-a-number",
    .Level = Severity::Warning,
    .Title = {"Ein Wert, der eine ganze Zahl sein soll, ist keine",
              "A value that should be a whole number is none"},
    .Problem = {"{0}=\"{1}\" ist keine ganze Zahl", "{0}=\"{1}\" is no whole number"},
    .Effect = {"Er rechnet mit {2}.", "It takes it as {2}."},
    .Advice = {"eine ganze Zahl", "a whole number"},
    .Explanation = {
        "Zahlen liest der Server bis zum ersten Zeichen, das keine Ziffer ist; ohne Ziffern sind "
        "sie 0. Zu große Zahlen laufen über.",
        "The server reads numbers up to the first character that is no digit; without digits they "
        "are 0. Numbers that are too large overflow."}};

constexpr Rule kRules[] = {kSectionMissing,   kSectionIgnored, kUnknownElement,
                           kUnknownAttribute, kWithoutEffect,  kNotANumber};

using Words = std::vector<std::string_view>;

/// What the server reads of an element. Language and Case mean other things in other parents.
struct Kind {
  std::string_view Parent;  ///< "" for the root element
  std::string_view Name;
  std::string_view Attributes;  ///< names with blanks between them
  std::string_view Children;
};

constexpr std::array kKinds = {
    Kind{"", "", "", "References Assembly"},
    Kind{"", "References", "", "Language"},
    Kind{"References", "Language", "name", "Voice Lexicon Element"},
    Kind{"Language", "Voice", "sex", ""},
    Kind{"Language", "Lexicon", "name", ""},
    Kind{"Language", "Element", "id trait text", ""},
    Kind{"", "Assembly", "", "Language RBLFormat Case"},
    Kind{"Assembly", "Language", "name generalprefix prefer", "Announcement"},
    Kind{"Language", "Announcement", "position positionMax", "Speech Condition"},
    Kind{"Announcement", "Speech", "id prefix suffix lexicon", ""},
    Kind{"Announcement", "Condition", "name", "Speech"},
    Kind{"Condition", "Speech", "id prefix suffix lexicon", ""},
    Kind{"Assembly", "RBLFormat", "minrows maxrows", "Attribute"},
    Kind{"RBLFormat", "Attribute", "name assignto musthavevalue", ""},
    Kind{"Assembly", "Case", "id substr strlen type operator begin end value", "Case"},
    Kind{"Case", "Case", "ref", ""}};

Words SplitWords(std::string_view text) {
  Words words;
  while (!text.empty()) {
    const std::size_t end = std::min(text.find(' '), text.size());
    words.push_back(text.substr(0, end));
    text.remove_prefix(std::min(end + 1, text.size()));
  }
  return words;
}

const Kind& KindOf(std::string_view parent, std::string_view name) {
  return *std::find_if(kKinds.begin(), kKinds.end(), [&](const Kind& kind) {
    return kind.Parent == parent && kind.Name == name;
  });
}

bool Contains(const Words& words, std::string_view word) {
  return std::find(words.begin(), words.end(), word) != words.end();
}

std::string Joined(const Words& words, Language language) {
  constexpr Bilingual kNothing = {"nichts", "nothing"};
  if (words.empty()) return std::string(kNothing(language));
  return fmt::format("{}", fmt::join(words, ", "));
}

std::string QuestionFor(const Words& words, std::string_view word, Language language) {
  return Suggestions({words.begin(), words.end()}).Question(word, language);
}

/// Walks what the server reads and reports what it passes over.
class StructureCheck {
 public:
  StructureCheck(const Document& document, Report& report) : document_(document), report_(report) {}

  void CheckAll() { CheckChildren(document_.Root(), KindOf("", "")); }

 private:
  void CheckChildren(const Element& element, const Kind& kind) {
    const Words known = SplitWords(kind.Children);
    const bool foundByNameAlone = kind.Name == "Announcement";
    for (const Element* child : element.Children) {
      if (!Contains(known, child->Name) || (child->bInNamespace && !foundByNameAlone)) {
        AddFinding(report_, kUnknownElement, PlaceOf(document_, *child), child->Name, element.Name,
                   ReasonFor(known, *child), Joined(known, report_.Lang()));
      } else if (!IsIgnored(*child)) {
        const Kind& childKind = KindOf(kind.Name, child->Name);
        CheckAttributes(*child, childKind);
        CheckChildren(*child, childKind);
      }
    }
  }

  std::string ReasonFor(const Words& known, const Element& element) const {
    constexpr Bilingual kNamespace = {", denn es ist in einem Namensraum",
                                      ", since it is in a namespace"};
    if (Contains(known, element.Name)) return std::string(kNamespace(report_.Lang()));
    return QuestionFor(known, element.Name, report_.Lang());
  }

  /// Whether it is a second section, of which only the first counts.
  bool IsIgnored(const Element& element) {
    const Words sections = {"References", "Assembly", "RBLFormat"};
    if (!Contains(sections, element.Name)) return false;
    const Element* first = element.Parent->FirstChild(element.Name);
    if (first == &element) return false;
    AddFinding(report_, kSectionIgnored, PlaceOf(document_, element), element.Name, first->At.Line);
    return true;
  }

  void CheckAttributes(const Element& element, const Kind& kind) {
    const Words known = SplitWords(kind.Attributes);
    for (const Attribute& attribute : element.Attributes) {
      if (Contains(known, attribute.Name)) continue;
      AddFinding(report_, kUnknownAttribute,
                 {document_.File(), attribute.NameAt.Line, attribute.NameAt.Column}, attribute.Name,
                 element.Name, QuestionFor(known, attribute.Name, report_.Lang()),
                 Joined(known, report_.Lang()));
    }
  }

  const Document& document_;
  Report& report_;
};

void CheckSections(const Document& document, Report& report) {
  const Element& root = document.Root();
  for (const char* section : {"References", "Assembly"}) {
    if (root.FirstChild(section) != nullptr) continue;
    AddFinding(report, kSectionMissing, PlaceOf(document, root), section, root.Name);
  }
  if (document.Assembly() == nullptr || document.Format() != nullptr) return;
  AddFinding(report, kSectionMissing, PlaceOf(document, *document.Assembly()), "RBLFormat",
             "Assembly");
}

void CheckUseless(const Document& document, const Element& caseElement, Report& report) {
  const std::string_view test = TestOf(caseElement);
  Words useless = {"type", "begin", "end", "value"};
  if (test == "strlen") useless.pop_back();
  if (test == "substr") useless = {"strlen"};
  const std::string_view kind = test.empty() ? "operator" : test;
  for (const std::string_view name : useless) {
    const Attribute* attribute = caseElement.Find(name);
    if (attribute == nullptr) continue;
    AddFinding(report, kWithoutEffect,
               {document.File(), attribute->NameAt.Line, attribute->NameAt.Column}, name, kind);
  }
}

/// Whether the server reads all of `text` as the number that it is; blanks around it do no harm.
bool IsNumber(std::string_view text) {
  constexpr std::string_view kBlanks = " \t\r\n";
  text.remove_prefix(std::min(text.find_first_not_of(kBlanks), text.size()));
  text = text.substr(0, text.find_last_not_of(kBlanks) + 1);
  if (text.starts_with('+')) text.remove_prefix(1);
  int number = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  return error == std::errc() && end == text.data() + text.size();
}

void CheckNumber(const Document& document, const Element& element, std::string_view name,
                 Report& report) {
  const std::string value = element.Value(name);
  if (!element.Has(name) || IsNumber(value)) return;
  AddFinding(report, kNotANumber, PlaceOf(document, element, name), name, value,
             element.Number(name));
}

void CheckCaseNumbers(const Document& document, const Element& caseElement, Report& report) {
  const std::string_view test = TestOf(caseElement);
  const std::string type = caseElement.Value("type");
  if (test == "substr") {
    CheckNumber(document, caseElement, "begin", report);
    CheckNumber(document, caseElement, "end", report);
  }
  if (test == "strlen" || (test == "substr" && (type == "number" || type == "Number"))) {
    CheckNumber(document, caseElement, "value", report);
  }
}

void Check(const CheckInput& input, Report& report) {
  if (input.Document == nullptr) return;
  const Document& document = *input.Document;
  CheckSections(document, report);
  StructureCheck(document, report).CheckAll();
  for (const Element* announcement : document.Announcements()) {
    CheckNumber(document, *announcement, "position", report);
    CheckNumber(document, *announcement, "positionMax", report);
  }
  if (document.Format() != nullptr) {
    CheckNumber(document, *document.Format(), "minrows", report);
    CheckNumber(document, *document.Format(), "maxrows", report);
  }
  for (const Element* caseElement : Cases(document)) {
    CheckUseless(document, *caseElement, report);
    CheckCaseNumbers(document, *caseElement, report);
  }
}

}  // namespace

RuleGroup StructureRules() {
  return {{"Aufbau", "Structure"}, kRules, Check};
}

}  // namespace tools
