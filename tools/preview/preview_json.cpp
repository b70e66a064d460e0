#include "preview/preview_json.h"

#include "kaNavigateXML.h"
#include "preview/visible.h"

namespace tools {

namespace {

using nlohmann::ordered_json;
using Kind = CaseReason::Kind;
using Outcome = BlockPreview::Outcome;

const char* NameOf(Outcome outcome) {
  switch (outcome) {
    case Outcome::NotWellFormed:
      return "not-well-formed";
    case Outcome::ExpandsTooFar:
      return "expands-too-far";
    case Outcome::TooFewRows:
      return "too-few-rows";
    case Outcome::ValueMissing:
      return "value-missing";
    case Outcome::CaseOutsideValue:
      return "case-outside-value";
    case Outcome::AnnouncementMissing:
      return "announcement-missing";
    case Outcome::LanguageMissing:
      return "language-missing";
    default:
      return "";
  }
}

const char* TraitName(int trait) {
  switch (trait) {
    case CkaSpeechFormat::_KASsteady:
      return "steady";
    case CkaSpeechFormat::_KASsound:
      return "sound";
    case CkaSpeechFormat::_KAStemp:
      return "temp";
    default:
      return "unknown";
  }
}

void AddComparison(ordered_json& json, const CaseReason& reason) {
  const CkaCases::kaCaseStruct& c = reason.Case;
  json["attribute"] = c.FirstValRef;
  json["value"] = reason.Value;
  json["operator"] = ComparisonWord(c.Operator);
  json["reference"] = c.SecondVal;
}

void AddPart(ordered_json& json, const CaseReason& reason) {
  const CkaCases::kaCaseStruct& c = reason.Case;
  AddComparison(json, reason);
  json["begin"] = c.Begin;
  json["end"] = c.End;
  json["part"] = reason.Part ? ordered_json(*reason.Part) : ordered_json(nullptr);
  json["type"] = c.TreatAs == CkaCases::_CST_NUMBER   ? "number"
                 : c.TreatAs == CkaCases::_CST_STRING ? "string"
                                                      : "";
  if (!reason.Part || c.TreatAs != CkaCases::_CST_NUMBER) return;
  json["left"] = LeadingInteger(*reason.Part);
  json["right"] = LeadingInteger(c.SecondVal);
}

ordered_json JsonOf(const CaseReason& reason) {
  ordered_json json{{"name", reason.Name}, {"holds", reason.bHolds}, {"line", reason.Line}};
  switch (reason.What) {
    case Kind::Missing:
      json["kind"] = "missing";
      break;
    case Kind::Part:
      json["kind"] = "substr";
      AddPart(json, reason);
      break;
    case Kind::Length:
      json["kind"] = "strlen";
      AddComparison(json, reason);
      json["left"] = reason.Value.size();
      json["right"] = LeadingInteger(reason.Case.SecondVal);
      break;
    case Kind::Combination:
      json["kind"] = "combination";
      json["operator"] = CombinationWord(reason.Case.Operator);
      json["abridged"] = reason.bAbridged;
      json["cases"] = ordered_json::array();
      for (const CaseReason& one : reason.Cases)
        json["cases"].push_back(JsonOf(one));
      break;
  }
  return json;
}

ordered_json JsonOf(const kaReplacement& replacement, int line) {
  return {{"line", line},
          {"position", replacement.Position},
          {"word", replacement.Word},
          {"value", replacement.Value}};
}

ordered_json JsonOf(const PhraseReason& phrase) {
  const kaPhraseTrace& trace = phrase.Trace;
  ordered_json json{{"element", phrase.Phrase.RefId},
                    {"line", phrase.Line},
                    {"spoken", trace.bSpoken},
                    {"case", phrase.Case ? JsonOf(*phrase.Case) : ordered_json(nullptr)}};
  if (!trace.bSpoken) return json;
  json["trait"] = TraitName(trace.Trait);
  json["piece"] = trace.Piece;
  if (trace.Trait != CkaSpeechFormat::_KAStemp) return json;
  json["attribute"] = trace.Attribute;
  json["value"] = trace.Value;
  if (trace.LexiconPath.empty()) return json;
  json["lexicon"] = {{"file", trace.LexiconPath}, {"exists", trace.bLexiconLoaded}};
  json["replacements"] = ordered_json::array();
  for (std::size_t i = 0; i < trace.Replacements.size(); ++i)
    json["replacements"].push_back(JsonOf(trace.Replacements[i], phrase.EntryLines[i]));
  return json;
}

ordered_json JsonOf(const Explanation& why) {
  const AnnouncementChoice& choice = why.Choice;
  ordered_json json{{"announcement",
                     {{"index", choice.Index}, {"exists", choice.bExists}, {"line", choice.Line}}}};
  if (choice.Fitting >= 0) {
    json["announcement"]["fitting"] = {{"index", choice.Fitting},
                                       {"position", choice.Position},
                                       {"positionMax", choice.PositionMax}};
  }
  json["generalPrefix"] = why.GeneralPrefix;
  json["phrases"] = ordered_json::array();
  for (const PhraseReason& phrase : why.Phrases)
    json["phrases"].push_back(JsonOf(phrase));
  return json;
}

ordered_json JsonOf(const ComposedText& text) {
  ordered_json json{{"name", text.Name}, {"row", text.Row}, {"language", text.Language}};
  json["text"] = text.bExists ? ordered_json(text.Text) : ordered_json(nullptr);
  if (!IsUtf8(text.Text)) json["hex"] = HexOf(text.Text);
  if (text.Why) json["explanation"] = JsonOf(*text.Why);
  return json;
}

ordered_json RefusalOf(const BlockPreview& preview, const Preview& source) {
  ordered_json json{{"reason", NameOf(preview.Result)}};
  switch (preview.Result) {
    case Outcome::NotWellFormed:
      json["line"] = preview.Fault.At.Line;
      json["column"] = preview.Fault.At.Column;
      json["message"] = preview.Fault.Reason;
      break;
    case Outcome::TooFewRows:
      json["minRows"] = preview.MinRows;
      break;
    case Outcome::ValueMissing:
      json["missing"] = ordered_json::array();
      for (const BlockPreview::Missing& one : preview.Values) {
        json["missing"].push_back(
            {{"row", one.Row}, {"line", one.Line}, {"attribute", one.Attribute}});
      }
      break;
    default:
      break;
  }
  if (preview.IsGivenUp()) json["row"] = preview.FailedRow;
  if (preview.Failed) {
    json["case"] = {{"name", preview.Failed->Name},
                    {"line", preview.Failed->Line},
                    {"begin", preview.Failed->Case.Begin},
                    {"attribute", preview.Failed->Case.FirstValRef},
                    {"value", preview.Failed->Value}};
  }
  if (preview.Result == Outcome::AnnouncementMissing) {
    json["language"] = source.Builder().SpeechGen.GetLanguageName(preview.FailedLanguage);
  }
  return json;
}

}  // namespace

ordered_json JsonOf(const BlockPreview& preview, const std::string& file, const Preview& source) {
  const bool isComplete = preview.Result == Outcome::Complete;
  ordered_json json{{"block", file},
                    {"state", isComplete            ? "complete"
                              : preview.IsGivenUp() ? "given-up"
                                                    : "refused"},
                    {"rows", preview.Rows},
                    {"usedRows", preview.UsedRows}};
  if (!isComplete) json["refusal"] = RefusalOf(preview, source);
  json["texts"] = ordered_json::array();
  for (const ComposedText& text : preview.Texts)
    json["texts"].push_back(JsonOf(text));
  return json;
}

std::string Dump(const ordered_json& json) {
  return json.dump(2, ' ', false, ordered_json::error_handler_t::replace) + "\n";
}

}  // namespace tools
