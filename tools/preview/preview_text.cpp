#include "preview/preview_text.h"

#include <algorithm>

#include "common/terminal.h"
#include "kaNavigateXML.h"
#include "preview/visible.h"

namespace tools {

namespace {

using Kind = CaseReason::Kind;
using Outcome = BlockPreview::Outcome;

// ---- Cases ----

constexpr Bilingual kHolds = {"gilt", "holds"};
constexpr Bilingual kHoldsNot = {"gilt nicht", "does not hold"};
constexpr Bilingual kNoCase = {"{0}: einen Fall dieses Namens gibt es nicht; er gilt nie",
                               "{0}: there is no case of this name; it never holds"};
constexpr Bilingual kAtLine = {"{0} (Zeile {1})", "{0} (line {1})"};
constexpr Bilingual kBytes = {", Bytes {0} bis {1}: {2}", ", bytes {0} to {1}: {2}"};
constexpr Bilingual kFromByte = {", ab Byte {0}: {1}", ", from byte {0} on: {1}"};
constexpr Bilingual kTooShort = {" reicht nicht bis Byte {0}", " does not reach up to byte {0}"};
constexpr Bilingual kEndBeforeBegin = {": das Ende {1} steht vor dem Anfang {0}",
                                       ": the end {1} stands before the begin {0}"};
constexpr Bilingual kNumber = {", als Zahl {0} {1} {2}", ", as a number {0} {1} {2}"};
constexpr Bilingual kText = {", als Text {0} {1}", ", as a text {0} {1}"};
constexpr Bilingual kNoType = {", ein unbekannter Typ", ", an unknown type"};
constexpr Bilingual kTextsLack = {", was Texte nicht kennen", ", which texts do not know"};
constexpr Bilingual kLength = {"Länge von {0} = {1}: {2} {3} {4}",
                               "length of {0} = {1}: {2} {3} {4}"};
constexpr Bilingual kCombination = {"{0}, {1} von {2} gelten", "{0}, {1} of {2} hold"};
constexpr Bilingual kUnknownWord = {"unbekanntes Wort", "unknown word"};
constexpr Bilingual kAbridged = {" (ihre Fälle stehen an anderer Stelle)",
                                 " (its cases are not given here)"};

std::string PartText(const CaseReason& reason, Language lang) {
  const CkaCases::kaCaseStruct& c = reason.Case;
  std::string text = c.FirstValRef + " = " + Quoted(reason.Value);
  if (!reason.Part) {
    const bool isReversed = c.Begin > c.End;
    return text +
           Say(isReversed ? kEndBeforeBegin : kTooShort, lang, isReversed ? c.Begin : c.End, c.End);
  }
  if (*reason.Part == reason.Value) return text;
  return text + (c.End == -1 ? Say(kFromByte, lang, c.Begin, Quoted(*reason.Part))
                             : Say(kBytes, lang, c.Begin, c.End, Quoted(*reason.Part)));
}

bool IsOrder(int comparison) {
  return comparison >= CkaCases::_CSO_LT && comparison <= CkaCases::_CSO_GE;
}

std::string ComparisonText(const CaseReason& reason, Language lang) {
  const CkaCases::kaCaseStruct& c = reason.Case;
  if (!reason.Part) return "";
  const std::string word = ComparisonWord(c.Operator);
  switch (c.TreatAs) {
    case CkaCases::_CST_NUMBER:
      return Say(kNumber, lang, LeadingInteger(*reason.Part), word, LeadingInteger(c.SecondVal));
    case CkaCases::_CST_STRING:
      return Say(kText, lang, word, Quoted(c.SecondVal)) +
             (IsOrder(c.Operator) ? std::string(kTextsLack(lang)) : "");
    default:
      return std::string(kNoType(lang));
  }
}

std::string CombinationText(const CaseReason& reason, Language lang) {
  const std::string word = CombinationWord(reason.Case.Operator);
  const std::string name = word.empty() ? std::string(kUnknownWord(lang)) : word;
  if (reason.bAbridged) return name + std::string(kAbridged(lang));
  const auto holding = std::count_if(reason.Cases.begin(), reason.Cases.end(),
                                     [](const CaseReason& one) { return one.bHolds; });
  return Say(kCombination, lang, name, holding, reason.Cases.size());
}

std::string Comparison(const CaseReason& reason, Language lang) {
  switch (reason.What) {
    case Kind::Part:
      return PartText(reason, lang) + ComparisonText(reason, lang);
    case Kind::Length:
      return Say(kLength, lang, reason.Case.FirstValRef, Quoted(reason.Value), reason.Value.size(),
                 ComparisonWord(reason.Case.Operator), LeadingInteger(reason.Case.SecondVal));
    default:
      return CombinationText(reason, lang);
  }
}

// ---- Refused blocks ----

constexpr Bilingual kNotWellFormed = {"abgewiesen: kein wohlgeformtes XML: {0}",
                                      "refused: no well-formed XML: {0}"};
constexpr Bilingual kExpandsTooFar = {
    "abgewiesen: mit eingesetzten Entities wäre der Block größer als 262144 Bytes",
    "refused: with its entities in place the block would be larger than 262144 bytes"};
constexpr Bilingual kTooFewRows = {"abgewiesen: {0} Zeilen, mindestens {1} müssen es sein",
                                   "refused: {0} rows, where at least {1} are wanted"};
constexpr Bilingual kMissing = {"abgewiesen: Zeile {0} hat keinen Wert für das Pflichtattribut {1}",
                                "refused: row {0} has no value for the required attribute {1}"};
constexpr Bilingual kOutside = {
    "aufgegeben in Zeile {0}: der Fall {1} (Dokument, Zeile {2}) sieht ab Byte {3} in {4} = {5}, "
    "das nur {6} Bytes hat",
    "given up in row {0}: the case {1} (document, line {2}) looks from byte {3} on at {4} = {5}, "
    "which has {6} bytes only"};
constexpr Bilingual kNoAnnouncement = {
    "aufgegeben in Zeile {0}: die Sprache {1} hat keine zweite Ansage in ihrer Liste",
    "given up in row {0}: language {1} has no second announcement in its list"};
constexpr Bilingual kNoLanguage = {
    "aufgegeben in Zeile {0}: References hat {1} Sprachen, Assembly nur {2}",
    "given up in row {0}: References has {1} languages, Assembly {2} only"};

std::string GivenUpText(const BlockPreview& preview, const Preview& source, Language lang) {
  const CkaSpeechbuilder& builder = source.Builder();
  if (preview.Failed) {
    const CaseReason& failed = *preview.Failed;
    return Say(kOutside, lang, preview.FailedRow, failed.Name, failed.Line, failed.Case.Begin,
               failed.Case.FirstValRef, Quoted(failed.Value), failed.Value.size());
  }
  if (preview.Result == Outcome::AnnouncementMissing) {
    return Say(kNoAnnouncement, lang, preview.FailedRow,
               builder.SpeechGen.GetLanguageName(preview.FailedLanguage));
  }
  return Say(kNoLanguage, lang, preview.FailedRow, builder.SpeechFormat.GetLanguageCount(),
             builder.SpeechGen.GetLanguageCount());
}

std::string AtPlace(const std::string& file, SourcePosition at) {
  std::string place = file + ":";
  if (at.Line > 0) place += std::to_string(at.Line) + ":";
  if (at.Column > 0) place += std::to_string(at.Column) + ":";
  return place + " ";
}

// ---- Texts ----

constexpr Bilingual kSilent = {"keine Ansage", "no announcement"};
constexpr Bilingual kOverwritten = {"(ein späterer Text dieses Blocks überschreibt die Datei)",
                                    "(a later text of this block overwrites the file)"};
constexpr Bilingual kSurplus = {"({0} von {1} Zeilen werden angesagt)",
                                "({0} of {1} rows are announced)"};
constexpr Bilingual kChosen = {"Ansage {0} der Liste{1}: {2}",
                               "announcement {0} of the list{1}: {2}"};
constexpr Bilingual kNotChosen = {"keine Ansage: {2}, und keine hat die Position {0}",
                                  "no announcement: {2}, and none has position {0}"};
constexpr Bilingual kLine = {" (Zeile {0})", " (line {0})"};
constexpr Bilingual kFits = {"Zeile {0} passt zuerst auf Position {1} bis {2}",
                             "row {0} first fits position {1} to {2}"};
constexpr Bilingual kFitsNone = {"Zeile {0} passt auf keine Position", "row {0} fits no position"};
constexpr Bilingual kPrefix = {"allgemeiner Vorspann", "general prefix"};
constexpr Bilingual kSound = {"Klang", "sound"};
constexpr Bilingual kSteady = {"vorbereitet", "prepared"};
constexpr Bilingual kNoElement = {"die Sprache hat kein solches Element; nichts wird gesagt",
                                  "the language has no such element; nothing is said"};
constexpr Bilingual kNoAttribute = {"kein Attribut ist zugewiesen", "no attribute is assigned"};
constexpr Bilingual kEmpty = {"das Attribut {0} ist leer", "attribute {0} is empty"};
constexpr Bilingual kValue = {"{0} = {1}", "{0} = {1}"};
constexpr Bilingual kNoLexicon = {", das Lexikon {0} fehlt", ", the lexicon {0} is missing"};
constexpr Bilingual kLexicon = {", Lexikon {0}", ", lexicon {0}"};
constexpr Bilingual kReplaced = {"{0}:{1}: {2} -> {3}, ab Byte {4}",
                                 "{0}:{1}: {2} -> {3}, at byte {4}"};

/// Writes the lines of a preview.
class PreviewPrinter {
 public:
  PreviewPrinter(const PreviewStyle& style, const Preview& source)
      : style_(style), source_(source) {}

  std::string Print(const BlockPreview& preview, const std::string& file) {
    lines_ = Painted(file, Color::Bold, style_.bColored);
    if (!preview.Texts.empty() && preview.UsedRows < preview.Rows) {
      lines_ += " " + Say(kSurplus, style_.Lang, preview.UsedRows, preview.Rows);
    }
    lines_ += "\n";
    for (std::size_t i = 0; i < preview.Texts.size(); ++i)
      AddText(preview.Texts[i], IsOverwritten(preview, i));
    for (const std::string& line : RefusalLines(preview, file, source_, style_.Lang))
      lines_ += Painted(line, Color::Red, style_.bColored) + "\n";
    return lines_;
  }

 private:
  static bool IsOverwritten(const BlockPreview& preview, std::size_t text) {
    return std::any_of(preview.Texts.begin() + static_cast<std::ptrdiff_t>(text) + 1,
                       preview.Texts.end(), [&](const ComposedText& later) {
                         return later.bExists && later.Name == preview.Texts[text].Name;
                       });
  }

  std::string Words(const Bilingual& words) const { return std::string(words(style_.Lang)); }

  void AddLine(int depth, const std::string& line) {
    lines_.append(2 * static_cast<std::size_t>(depth), ' ').append(line).append("\n");
  }

  void AddText(const ComposedText& text, bool isOverwritten) {
    const std::string name = Painted(Visible(text.Name), Color::Blue, style_.bColored) + "  ";
    const std::string said = text.bExists
                                 ? Visible(text.Text)
                                 : Painted("(" + Words(kSilent) + ")", Color::Dim, style_.bColored);
    AddLine(1, name + said);
    if (isOverwritten) AddLine(2, Words(kOverwritten));
    if (text.Why) AddExplanation(*text.Why, text);
  }

  void AddExplanation(const Explanation& why, const ComposedText& text) {
    const AnnouncementChoice& choice = why.Choice;
    const std::string fits =
        choice.Fitting < 0 ? Say(kFitsNone, style_.Lang, text.Row)
                           : Say(kFits, style_.Lang, text.Row, choice.Position, choice.PositionMax);
    AddLine(2, Say(choice.bExists ? kChosen : kNotChosen, style_.Lang, choice.Index,
                   InLine(choice.Line), fits));
    if (!choice.bExists) return;
    AddPiece(why.GeneralPrefix + " ", Words(kPrefix));
    for (const PhraseReason& phrase : why.Phrases)
      AddPhrase(phrase);
  }

  std::string InLine(int line) const { return line > 0 ? Say(kLine, style_.Lang, line) : ""; }

  void AddPiece(const std::string& piece, const std::string& reason) {
    AddLine(2, Painted("+ " + Quoted(piece), Color::Green, style_.bColored) + "  " + reason);
  }

  void AddPhrase(const PhraseReason& phrase) {
    const std::string place = phrase.Phrase.RefId + InLine(phrase.Line) + ": ";
    if (phrase.Trace.bSpoken) {
      AddPiece(phrase.Trace.Piece, place + SourceOf(phrase));
    } else {
      AddLine(2, Painted("- " + phrase.Phrase.RefId + InLine(phrase.Line), Color::Dim,
                         style_.bColored));
    }
    for (std::size_t i = 0; i < phrase.Trace.Replacements.size(); ++i)
      AddReplacement(phrase, i);
    if (phrase.Case) AddCase(*phrase.Case, 4);
  }

  std::string SourceOf(const PhraseReason& phrase) const {
    switch (phrase.Trace.Trait) {
      case CkaSpeechFormat::_KASsound:
        return Words(kSound);
      case CkaSpeechFormat::_KASsteady:
        return Words(kSteady);
      case CkaSpeechFormat::_KAStemp:
        return ValueOf(phrase.Trace) + LexiconOf(phrase.Trace);
      default:
        return Words(kNoElement);
    }
  }

  std::string ValueOf(const kaPhraseTrace& trace) const {
    if (trace.Attribute.empty()) return Words(kNoAttribute);
    if (trace.Value.empty()) return Say(kEmpty, style_.Lang, trace.Attribute);
    return Say(kValue, style_.Lang, trace.Attribute, Quoted(trace.Value));
  }

  std::string LexiconOf(const kaPhraseTrace& trace) const {
    if (trace.LexiconPath.empty()) return "";
    return Say(trace.bLexiconLoaded ? kLexicon : kNoLexicon, style_.Lang,
               NameOfFile(trace.LexiconPath));
  }

  void AddReplacement(const PhraseReason& phrase, std::size_t index) {
    const kaReplacement& replacement = phrase.Trace.Replacements[index];
    AddLine(4, Say(kReplaced, style_.Lang, NameOfFile(phrase.Trace.LexiconPath),
                   phrase.EntryLines[index], Quoted(replacement.Word), Quoted(replacement.Value),
                   replacement.Position));
  }

  void AddCase(const CaseReason& reason, int depth) {
    AddLine(depth, CaseLine(reason, style_.Lang));
    for (const CaseReason& one : reason.Cases)
      AddCase(one, depth + 1);
  }

  std::string NameOfFile(const std::string& path) const {
    const std::string root = style_.Root.string() + "/";
    return path.starts_with(root) ? path.substr(root.size()) : path;
  }

  const PreviewStyle& style_;
  const Preview& source_;
  std::string lines_;
};

}  // namespace

std::string CaseLine(const CaseReason& reason, Language language) {
  if (reason.What == Kind::Missing) return Say(kNoCase, language, reason.Name);
  const std::string name =
      reason.Line > 0 ? Say(kAtLine, language, reason.Name, reason.Line) : reason.Name;
  return name + ": " + Comparison(reason, language) + ": " +
         std::string((reason.bHolds ? kHolds : kHoldsNot)(language));
}

std::vector<std::string> RefusalLines(const BlockPreview& preview, const std::string& file,
                                      const Preview& source, Language language) {
  switch (preview.Result) {
    case Outcome::Complete:
      return {};
    case Outcome::NotWellFormed:
      return {AtPlace(file, preview.Fault.At) +
              Say(kNotWellFormed, language, Visible(preview.Fault.Reason))};
    case Outcome::ExpandsTooFar:
      return {AtPlace(file, {}) + std::string(kExpandsTooFar(language))};
    case Outcome::TooFewRows:
      return {AtPlace(file, {}) + Say(kTooFewRows, language, preview.Rows, preview.MinRows)};
    case Outcome::ValueMissing:
      break;
    default:
      return {AtPlace(file, {}) + GivenUpText(preview, source, language)};
  }
  std::vector<std::string> lines;
  for (const BlockPreview::Missing& missing : preview.Values) {
    lines.push_back(AtPlace(file, {missing.Line, 0}) +
                    Say(kMissing, language, missing.Row, missing.Attribute));
  }
  return lines;
}

std::string TextOf(const BlockPreview& preview, const std::string& file, const Preview& source,
                   const PreviewStyle& style) {
  return PreviewPrinter(style, source).Print(preview, file);
}

}  // namespace tools
