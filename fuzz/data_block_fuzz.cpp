// A message to the data port: the whole input. It is received twice by a station with a rich
// announcement document: the second time no text is new.

#include <cstdio>
#include <stdexcept>

#include "kaFile.h"
#include "kaRBLDataContent.h"
#include "kaTTSServer.h"
#include "support/block_model.h"
#include "support/expect.h"
#include "support/input.h"
#include "support/output.h"
#include "support/rich_station.h"
#include "support/station.h"
#include "target.h"

namespace {

using fuzz::Expect;
using fuzz::ExpectEqual;

/// The rows of a block, read attribute by attribute.
std::vector<CkaRBLDataContent::kaRBLRow> RowsOf(const CkaRBLDataContent& content) {
  std::vector<CkaRBLDataContent::kaRBLRow> rows;
  for (xmlpp::Node* node : content.FindNodes(content.pRootNode, "row")) {
    auto& row = rows.emplace_back();
    for (const std::string& name : content.GetAttributeNames(node)) {
      if (!content.AttributeExists(node, name)) continue;
      row.Values.push_back({name, content.GetAttributeValue(node, name)});
    }
  }
  return rows;
}

void CheckRows(const CkaRBLDataContent& content) {
  const auto expected = RowsOf(content);
  ExpectEqual("rows", content.Rows.size(), expected.size());
  for (std::size_t row = 0; row < expected.size(); ++row) {
    const auto& values = expected[row].Values;
    ExpectEqual("attributes", content.Rows[row].Values.size(), values.size());
    for (std::size_t i = 0; i < values.size(); ++i) {
      ExpectEqual("attribute", content.Rows[row].Values[i].Name, values[i].Name);
      ExpectEqual("its value", content.Rows[row].Values[i].Value, values[i].Value);
    }
  }
}

/// What the callback says and runs is what the model expects of the rows.
void CheckReception(model::BlockReceiver& expected, int number, const CkaRBLDataContent& content,
                    bool isXml, std::string text) {
  expected.Receive(number, isXml, RowsOf(content));
  const fuzz::CommandRecord record;
  const fuzz::Output output;
  bool isGivenUp = false;
  try {
    CallBackOnReceiveRBLData(static_cast<int>(text.size()), text.data(), &fuzz::TheServer());
  } catch (const std::out_of_range&) {  // the listener reports it
    isGivenUp = true;
  }
  ExpectEqual("given up", isGivenUp, expected.IsGivenUp);
  ExpectEqual("commands", record.Commands(), expected.Commands);
  ExpectEqual("printed", output.Out(), expected.Output.Out);
  ExpectEqual("reported", output.Err(), expected.Output.Err);
}

void CheckStore(const model::BlockReceiver& expected) {
  const CkaFile file;
  for (const auto& [path, text] : expected.Store)
    ExpectEqual("remembered text", file.GetFileAsString(path), text);
  ExpectEqual("save marker", fuzz::TheServer().SpeechBuilder.IsSaveBlocked(), false);
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static CkaSpeechbuilder* builder = &fuzz::PrepareRichStation();
  static auto* files = new model::LexiconFiles(fuzz::TheDirectory());
  const std::string text = fuzz::Input(data, size).TakePart();

  CkaRBLDataContent content;
  const bool isXml = content.Initialize(model::UsedPart(text), false, true);
  if (isXml) {
    content.ReadContent();
    CheckRows(content);
  }

  MessageCounter = 0;
  const std::string& store = builder->StoreAnnounce;
  model::BlockReceiver expected(*builder, *files, {store + "/de0.wav", store + "/en1.wav"});
  CheckReception(expected, 1, content, isXml, text);
  CheckReception(expected, 2, content, isXml, text);
  CheckStore(expected);
  for (const auto& [path, ignored] : expected.Store)
    Expect("remembered text is a file", std::remove(path.c_str()) == 0);
  return 0;
}
