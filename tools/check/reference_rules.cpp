#include <map>
#include <string>
#include <vector>

#include "check/document_index.h"
#include "check/rule_groups.h"
#include "check/suggestions.h"

namespace tools {

namespace {

constexpr Rule kLanguageMissing = {
    .Id = "language-missing",
    .Level = Severity::Error,
    .Title = {"References enthält keine Sprache", "References has no language"},
    .Problem = {"<References> enthält keine gesprochene <Language>",
                "<References> has no spoken <Language>"},
    .Effect = {"Er öffnet keinen Port oder spricht nichts.", "It opens no port or says nothing."},
    .Advice = {"eine <Language name=\"de\"> mit einer Voice",
               "a <Language name=\"de\"> with a Voice"},
    .Explanation = {
        "Ohne ein Language in References öffnet der Server keinen Port. Gibt es nur die "
        "gemeinsame Sprache \"all\", startet er, kennt aber keine Sprache und spricht nie.",
        "Without a Language in References the server opens no port. With the shared language "
        "\"all\" alone it starts, but knows no language and never speaks."}};

constexpr Rule kVoiceMissing = {
    .Id = "voice-missing",
    .Level = Severity::Error,
    .Title = {"Eine Sprache hat keine Stimme", "A language has no voice"},
    .Problem = {"die Sprache \"{0}\" hat keine <Voice>", "the language \"{0}\" has no <Voice>"},
    .Effect = {"Er meldet nichts und öffnet keinen Port.", "It says nothing and opens no port."},
    .Advice = {"<Voice sex=\"female\">NAME</Voice> in diese Language",
               "<Voice sex=\"female\">NAME</Voice> in this Language"},
    .Explanation = {
        "Jede Sprache in References außer \"all\" braucht eine Stimme, sonst bricht das Lesen des "
        "Dokuments ab.",
        "Every language of References but \"all\" needs a voice; else the reading of the document "
        "is given up."}};

constexpr Rule kVoiceFaulty = {
    .Id = "voice-faulty",
    .Level = Severity::Error,
    .Title = {"Eine Stimme ohne brauchbaren Namen oder ohne Geschlecht",
              "A voice without a usable name or without a sex"},
    .Problem = {"Voice mit Namen \"{0}\" und sex=\"{1}\": der Name braucht 2, sex 4 Zeichen",
                "Voice with name \"{0}\" and sex=\"{1}\": the name needs 2 characters, sex 4"},
    .Effect = {"Er meldet nichts und öffnet keinen Port.", "It says nothing and opens no port."},
    .Advice = {"<Voice sex=\"male\">NAME</Voice>, den Namen gleich hinter \">\"",
               "<Voice sex=\"male\">NAME</Voice>, the name directly behind \">\""},
    .Explanation = {
        "Der Name ist der Text unmittelbar hinter dem Anfang des Elements, mit mindestens zwei "
        "Bytes; sex braucht mindestens vier. Sonst bricht das Lesen des Dokuments ab.",
        "The name is the text directly behind the start of the element, of two bytes or more; sex "
        "needs four. Else the reading of the document is given up."}};

constexpr Rule kSexUnknown = {
    .Id = "sex-unknown",
    .Level = Severity::Warning,
    .Title = {"sex ist weder male noch female", "sex is neither male nor female"},
    .Problem = {"sex=\"{0}\" ist unbekannt{1}", "sex=\"{0}\" is unknown{1}"},
    .Effect = {"Die Stimme gilt als weder männlich noch weiblich.",
               "The voice counts as neither male nor female."},
    .Advice = {"\"male\" oder \"female\", klein geschrieben",
               "\"male\" or \"female\", in small letters"},
    .Explanation = {
        "Hier gelten nur \"male\" und \"female\" in kleinen Buchstaben; beim Attribut prefer der "
        "Ansagen auch \"Male\" und \"Female\".",
        "Only \"male\" and \"female\" in small letters count here; with the attribute prefer of "
        "the announcements also \"Male\" and \"Female\"."}};

constexpr Rule kVoiceIgnored = {
    .Id = "voice-ignored",
    .Level = Severity::Hint,
    .Title = {"Eine Stimme, die nie benutzt wird", "A voice that is never used"},
    .Problem = {"die Stimme \"{0}\" wird nie benutzt", "the voice \"{0}\" is never used"},
    .Effect = {"Von jeder Sprache zählt nur die erste Stimme, von \"all\" keine.",
               "Of every language only the first voice counts, of \"all\" none."},
    .Advice = {"eine Voice je Sprache; andere Stimmen über die Präfixe der Texte",
               "one Voice per language; other voices by the prefixes of the texts"},
    .Explanation = {
        "Die erste Voice einer Sprache gewinnt. Weitere werden gelesen, aber nie benutzt; die der "
        "gemeinsamen Sprache \"all\" werden nicht einmal gelesen.",
        "The first Voice of a language wins. Further ones are read but never used; those of the "
        "shared language \"all\" are not even read."}};

constexpr Rule kTraitUnknown = {
    .Id = "trait-unknown",
    .Level = Severity::Error,
    .Title = {"trait ist weder steady noch sound noch temp",
              "trait is neither steady nor sound nor temp"},
    .Problem = {"trait=\"{0}\" ist unbekannt{1}", "trait=\"{0}\" is unknown{1}"},
    .Effect = {"Er meldet nichts und öffnet keinen Port.", "It says nothing and opens no port."},
    .Advice = {"\"steady\", \"sound\" oder \"temp\", klein geschrieben",
               "\"steady\", \"sound\" or \"temp\", in small letters"},
    .Explanation = {
        "Jedes Element muss eines der drei Wörter tragen: steady (vorbereitete Rede), sound "
        "(Klangdatei), temp (Wert der Zeile). Ein anderes oder fehlendes bricht das Lesen des "
        "Dokuments ab.",
        "Every element must have one of the three words: steady (prepared speech), sound (sound "
        "file), temp (value of the row). With another or none the reading of the document is given "
        "up."}};

constexpr Rule kTextIgnored = {
    .Id = "text-ignored",
    .Level = Severity::Warning,
    .Title = {"Ein Text an einem Element, das nicht steady ist",
              "A text of an element that is not steady"},
    .Problem = {"text an einem Element mit trait=\"{0}\"", "text of an element with trait=\"{0}\""},
    .Effect = {"Er liest den Text nicht und spricht ihn nie.",
               "It does not read the text and never says it."},
    .Advice = {"trait=\"steady\", oder die Wörter als prefix eines Speech",
               "trait=\"steady\", or the words as prefix of a Speech"},
    .Explanation = {
        "Nur steady-Elemente haben einen Text. Ein sound-Element ist eine Datei, ein temp-Element "
        "der Wert einer Zeile.",
        "Only steady elements have a text. A sound element is a file, a temp element the value of "
        "a row."}};

constexpr Rule kDuplicateElement = {
    .Id = "duplicate-element",
    .Level = Severity::Warning,
    .Title = {"Zwei Elemente einer Sprache mit derselben id",
              "Two elements of a language with the same id"},
    .Problem = {"die id \"{0}\" gibt es für die Sprache \"{1}\" noch einmal in Zeile {2}",
                "the language \"{1}\" has the id \"{0}\" once more in line {2}"},
    .Effect = {"Es gilt das letzte, und die der Sprache \"all\" kommen nach den eigenen: hier das "
               "in Zeile {2}.",
               "The last one counts, and those of \"all\" come after the language's own: here the "
               "one in line {2}."},
    .Advice = {"jede id nur einmal", "every id once only"},
    .Explanation = {
        "Elemente werden je Sprache unter ihrer id gesucht: erst die eigenen, dann die von "
        "\"all\". "
        "Von mehreren gewinnt das letzte. Zwei steady-Elemente teilen sich zudem eine Datei.",
        "Elements are looked for by their id, per language: first its own, then those of \"all\". "
        "Of several the last one wins. Two steady elements share one file besides."}};

constexpr Rule kRules[] = {kLanguageMissing, kVoiceMissing, kVoiceFaulty, kSexUnknown,
                           kVoiceIgnored,    kTraitUnknown, kTextIgnored, kDuplicateElement};

void CheckVoice(const Document& document, const Element& voice, Report& report) {
  constexpr std::size_t kShortestName = 2;
  constexpr std::size_t kShortestSex = 4;
  const std::string sex = voice.Value("sex");
  if (voice.Text.size() < kShortestName || sex.size() < kShortestSex) {
    AddFinding(report, kVoiceFaulty, PlaceOf(document, voice), voice.Text, sex);
    return;
  }
  Suggestions words({"male", "female"});
  if (words.Has(sex)) return;
  AddFinding(report, kSexUnknown, PlaceOf(document, voice, "sex"), sex,
             words.Question(sex, report.Lang()));
}

void CheckVoices(const Document& document, const Element& language, Report& report) {
  const std::vector<const Element*> voices = language.ChildrenCalled("Voice");
  if (voices.empty()) {
    AddFinding(report, kVoiceMissing, PlaceOf(document, language), language.Value("name"));
  }
  for (const Element* voice : voices) {
    CheckVoice(document, *voice, report);
    if (voice == voices.front()) continue;
    AddFinding(report, kVoiceIgnored, PlaceOf(document, *voice), voice->Text);
  }
}

void CheckElements(const Document& document, const Element& language, Report& report) {
  Suggestions traits({"steady", "sound", "temp"});
  for (const Element* element : language.ChildrenCalled("Element")) {
    const std::string trait = element->Value("trait");
    if (!traits.Has(trait)) {
      AddFinding(report, kTraitUnknown, PlaceOf(document, *element, "trait"), trait,
                 traits.Question(trait, report.Lang()));
    } else if (trait != "steady" && element->Has("text")) {
      AddFinding(report, kTextIgnored, PlaceOf(document, *element, "text"), trait);
    }
  }
}

using ElementsById = std::map<std::string, const Element*>;

ElementsById LastElements(const Element& language) {
  ElementsById elements;
  for (const Element* element : language.ChildrenCalled("Element"))
    elements[element->Value("id")] = element;
  return elements;
}

/// Reports those that a later one of the language, or one of the shared language, takes the place
/// of.
void CheckDuplicates(const Document& document, const Element& language, const ElementsById& shared,
                     Report& report) {
  const ElementsById own = LastElements(language);
  for (const Element* element : language.ChildrenCalled("Element")) {
    const std::string id = element->Value("id");
    const auto sharedOne = shared.find(id);
    const Element* winner = sharedOne == shared.end() ? own.at(id) : sharedOne->second;
    if (winner == element) continue;
    AddFinding(report, kDuplicateElement, PlaceOf(document, *element, "id"), id,
               language.Value("name"), winner->At.Line);
  }
}

void CheckShared(const Document& document, const Element& shared, Report& report) {
  CheckElements(document, shared, report);
  CheckDuplicates(document, shared, {}, report);
  for (const Element* voice : shared.ChildrenCalled("Voice"))
    AddFinding(report, kVoiceIgnored, PlaceOf(document, *voice), voice->Text);
}

void Check(const CheckInput& input, Report& report) {
  if (input.Document == nullptr || input.Document->References() == nullptr) return;
  const Document& document = *input.Document;
  const std::vector<const Element*> languages = NamedLanguages(document);
  const Element* shared = SharedLanguage(document);
  if (languages.empty()) {
    AddFinding(report, kLanguageMissing, PlaceOf(document, *document.References()));
  }
  if (shared != nullptr) CheckShared(document, *shared, report);
  const ElementsById sharedElements = shared == nullptr ? ElementsById() : LastElements(*shared);
  for (const Element* language : languages) {
    CheckVoices(document, *language, report);
    CheckElements(document, *language, report);
    CheckDuplicates(document, *language, sharedElements, report);
  }
}

}  // namespace

RuleGroup ReferenceRules() {
  return {{"Sprachen, Stimmen und Elemente", "Languages, voices and elements"}, kRules, Check};
}

}  // namespace tools
