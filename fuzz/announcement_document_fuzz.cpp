// An announcement document: the whole input. All four readers read it; if it can be used, the
// announcements of a fixed data block are composed by it.

#include <algorithm>
#include <stdexcept>

#include "kaCaseCheck.h"
#include "kaNavigateXML.h"
#include "kaRBLDataContent.h"
#include "kaSpeechbuilder.h"
#include "support/announcement_model.h"
#include "support/expect.h"
#include "support/input.h"
#include "support/output.h"
#include "support/rich_station.h"
#include "support/station.h"
#include "target.h"

namespace {

using fuzz::Expect;
using fuzz::ExpectEqual;

/// The result of reading a section; false also where a missing section would end the start-up.
template <class Reader>
bool ReadSection(Reader& reader, bool (Reader::*read)(), const std::string& document) {
  Expect("every reader can load it", reader.Initialize(document, false, true));
  try {
    return (reader.*read)();
  } catch (const std::out_of_range&) {
    return false;
  }
}

bool operator==(const model::Case& a, const model::Case& b) {
  return a.Type == b.Type && a.Id == b.Id && a.FirstValRef == b.FirstValRef &&
         a.SecondVal == b.SecondVal && a.Begin == b.Begin && a.End == b.End &&
         a.TreatAs == b.TreatAs && a.Operator == b.Operator && a.CaseRefs == b.CaseRefs;
}

void CheckCases(CkaCases& reader, bool isRead) {
  const std::vector<model::Case> expected = model::OrderedCases(reader);
  ExpectEqual("cases are read", isRead, !expected.empty());
  ExpectEqual("number of cases", reader.SortedCases.size(), expected.size());
  Expect("order of cases", std::equal(expected.begin(), expected.end(), reader.SortedCases.begin(),
                                      [](const auto& a, const auto& b) { return a == b; }));
}

/// Lexicon files stay in their directory: elsewhere are devices that never end.
bool NamesOtherDirectory(const CkaSpeechGen& sequence) {
  const auto leaves = [](const std::string& name) { return name.find('/') != std::string::npos; };
  for (const auto& language : sequence.Languages) {
    if (leaves(language.Name)) return true;
    for (const auto& announcement : language.Announcements) {
      for (const auto& phrase : announcement.Phrases) {
        if (leaves(phrase.Lexicon)) return true;
      }
    }
  }
  return false;
}

/// Whether the cases of a row were all evaluated, as they must be if no part begins outside.
bool CheckRow(CkaSpeechbuilder& builder, CkaRBLDataContent& block, int row, CkaCaseCheck& cases,
              model::CaseResults& expected) {
  expected =
      model::EvaluateCases(builder.CaseData.SortedCases, block.Rows[static_cast<std::size_t>(row)]);
  const fuzz::Output output;
  bool isOutside = false;
  cases.Initialize(&builder.CaseData, &block);
  try {
    cases.CheckForRow(row);
  } catch (const std::out_of_range&) {
    isOutside = true;
  }
  ExpectEqual("part outside", isOutside, expected.IsOutside);
  ExpectEqual("printed by cases", output.Out(), expected.Out);
  ExpectEqual("number of results", cases.SimpleCases.size(), expected.Results.size());
  for (std::size_t i = 0; i < expected.Results.size(); ++i) {
    ExpectEqual("name of result", cases.SimpleCases[i].Name, expected.Results[i].first);
    ExpectEqual("result", cases.SimpleCases[i].bIsTrue, expected.Results[i].second);
  }
  return !isOutside;
}

void CheckText(const CkaSpeechbuilder& builder, const CkaRBLDataContent& block,
               const CkaCaseCheck& cases, const model::CaseResults& results, int row, int language,
               model::LexiconFiles& files) {
  model::Printed printed;
  const auto expected = model::Compose(builder, block.Rows[static_cast<std::size_t>(row)], row,
                                       static_cast<std::size_t>(language), results, files, printed);
  std::vector<kaReport> reports;
  try {
    const auto announcement = builder.ComposeText(block, cases, row, language, reports);
    Expect("composed", expected.has_value());
    ExpectEqual("exists", announcement.bExists, expected->Exists);
    ExpectEqual("language", announcement.Language, expected->Language);
    ExpectEqual("text", announcement.Text, expected->Text);
  } catch (const std::out_of_range&) {
    Expect("not composed", !expected.has_value());
  }
  const fuzz::Output output;
  PrintReports(reports);
  ExpectEqual("printed", output.Out(), printed.Out);
  ExpectEqual("reported", output.Err(), printed.Err);
}

void CheckTexts(CkaSpeechbuilder& builder) {
  static CkaRBLDataContent* block = [] {
    auto* content = new CkaRBLDataContent;
    content->Initialize(fuzz::kRichBlock, false, true);
    content->ReadContent();
    return content;
  }();
  static auto* files = new model::LexiconFiles(fuzz::TheDirectory());
  for (int row = 0; row < block->GetRowCount(); ++row) {
    CkaCaseCheck cases;
    model::CaseResults results;
    if (!CheckRow(builder, *block, row, cases, results)) continue;
    for (int language = 0; language < builder.SpeechFormat.GetLanguageCount(); ++language)
      CheckText(builder, *block, cases, results, row, language, *files);
  }
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const CkaSpeechbuilder* station = &fuzz::PrepareRichStation();
  const std::string document = fuzz::Input(data, size).TakePart();
  const fuzz::Output quiet;
  if (!CkaNavigateXML().Initialize(document, false, true)) return 0;

  CkaSpeechbuilder builder;
  builder.PlayPrefix = station->PlayPrefix;
  builder.PlaySuffix = station->PlaySuffix;
  builder.SoundsPath = station->SoundsPath;
  builder.SteadyPath = station->SteadyPath;

  const bool hasReferences =
      ReadSection(builder.SpeechFormat, &CkaSpeechFormat::ReadReferences, document);
  const bool hasFormat =
      ReadSection(builder.RBLDataFormat, &CkaRBLDataFormat::ReadAssembly, document);
  const bool hasCases = ReadSection(builder.CaseData, &CkaCases::ReadCases, document);
  const bool hasSequence =
      ReadSection(builder.SpeechGen, &CkaSpeechGen::ReadSpeechBuildSeq, document);
  if (builder.CaseData.pAssemNode != nullptr) CheckCases(builder.CaseData, hasCases);
  const bool isUsable = hasReferences && hasFormat && hasCases && hasSequence;
  if (isUsable && !NamesOtherDirectory(builder.SpeechGen)) CheckTexts(builder);
  return 0;
}
