#include "preview/preview.h"

#include <algorithm>
#include <stdexcept>

#include "kaTCPIPGet.h"
#include "kaTTSServer.h"

namespace tools {

namespace {

using Outcome = BlockPreview::Outcome;

constexpr Bilingual kNoPort = {
    "ist kein Dokument, mit dem der Server Ports öffnet; ka-tts check sagt, warum",
    "is no document with which the server opens its ports; ka-tts check tells why"};

void SetFault(BlockPreview& preview, const std::string& block) {
  preview.Fault = FaultOf(block);
  preview.Result = preview.Fault.bExpandsTooFar ? Outcome::ExpandsTooFar : Outcome::NotWellFormed;
}

void SetMissingValues(BlockPreview& preview, const CkaSpeechbuilder& builder,
                      const CkaRBLDataContent& content, const std::string& block) {
  preview.Result = Outcome::ValueMissing;
  const SourceMap map(block);
  const xmlpp::NodeSet rows = content.FindNodes(content.pRootNode, "row");
  for (kaMissingValue& value : builder.FindMissingValues(content, preview.UsedRows)) {
    const xmlpp::Node* row = rows.at(static_cast<std::size_t>(value.Row));
    preview.Values.push_back(
        {value.Row, map.PositionOf(row->cobj()).Line, std::move(value.Attribute)});
  }
}

}  // namespace

Preview::Preview(const Station& station) : document_(station.Document()) {
  bool complete = false;
  try {
    Silently([&] { complete = builder_.Initialize(station.Value("speechformat")); });
  } catch (const std::out_of_range&) {  // a section is missing, which ends the server
  }
  if (!complete) throw CannotRun(kNoPort, document_.File());
  explainer_.emplace(builder_, document_);
}

BlockPreview Preview::Of(const std::string& message, bool explains) {
  BlockPreview preview;
  const std::string block = UsedPartOfBlock(ReceivedPart(message));
  CkaRBLDataContent content;
  kaBlockState state = kaBlockState::NoXml;
  Silently([&] { state = builder_.ReadBlock(block, content, preview.UsedRows); });
  preview.Rows = content.GetRowCount();
  preview.MinRows = builder_.RBLDataFormat.GetMinRows();
  switch (state) {
    case kaBlockState::NoXml:
      SetFault(preview, block);
      break;
    case kaBlockState::TooFewRows:
      preview.Result = Outcome::TooFewRows;
      break;
    case kaBlockState::ValueMissing:
      SetMissingValues(preview, builder_, content, block);
      break;
    case kaBlockState::Complete:
      ComposeRows(preview, content, explains);
      break;
  }
  return preview;
}

void Preview::ComposeRows(BlockPreview& preview, CkaRBLDataContent& content, bool explains) {
  explainer_->ForgetLexica();
  const int languages = builder_.SpeechFormat.GetLanguageCount();
  for (int row = 0; row < preview.UsedRows; ++row) {
    CkaCaseCheck cases;
    if (!CheckRow(preview, content, row, cases)) return;
    for (int lang = 0; lang < languages; ++lang) {
      if (!ComposeText(preview, content, row, lang, cases, explains)) return;
    }
  }
}

/// False if the server gives the block up here.
bool Preview::CheckRow(BlockPreview& preview, CkaRBLDataContent& content, int row,
                       CkaCaseCheck& cases) {
  try {
    Silently([&] {
      cases.Initialize(&builder_.CaseData, &content, &builder_.CaseIndex);
      cases.CheckForRow(row);
    });
    return true;
  } catch (const std::out_of_range&) {
    preview.Result = Outcome::CaseOutsideValue;
    preview.FailedRow = row;
    preview.Failed = explainer_->Cases().OfFailure(cases, content, row);
    return false;
  }
}

/// False if the server gives the block up here.
bool Preview::ComposeText(BlockPreview& preview, const CkaRBLDataContent& content, int row,
                          int lang, const CkaCaseCheck& cases, bool explains) {
  kaCompositionTrace trace;
  CkaSpeechbuilder::kaAnnouncementText composed;
  try {
    Silently([&] {
      std::vector<kaReport> reports;
      composed = builder_.ComposeText(content, cases, row, lang, reports, &trace);
    });
  } catch (const std::out_of_range&) {
    preview.Result = lang < builder_.SpeechGen.GetLanguageCount() ? Outcome::AnnouncementMissing
                                                                  : Outcome::LanguageMissing;
    preview.FailedRow = row;
    preview.FailedLanguage = lang;
    return false;
  }
  ComposedText& text = preview.Texts.emplace_back();
  text.Row = row;
  text.Language = builder_.SpeechGen.GetLanguageName(lang);
  text.Name = text.Language + std::to_string(row);
  text.bExists = composed.bExists;
  text.Text = std::move(composed.Text);
  if (explains) text.Why = explainer_->Of(trace, cases, content, row, lang);
  return true;
}

std::string ReceivedPart(const std::string& bytes) {
  return bytes.substr(0, std::min(kLongestMessage, bytes.find('\0')));
}

}  // namespace tools
