// The engine's texts: VOICE 0 TEXT.

#include <algorithm>

#include "TagParser.h"
#include "TextCleaner.h"
#include "support/expect.h"
#include "support/input.h"
#include "support/tag_model.h"
#include "target.h"

namespace {

using fuzz::Expect;
using fuzz::ExpectEqual;

constexpr std::size_t kLongestQuotation = 1 + 60 + 3 + 1;

/// A message of one line: short, and without anything that a terminal would obey.
void CheckQuoted(const std::string& text) {
  const std::string quoted = engine::InQuotes(text);
  Expect("quoted", quoted.size() >= 2 && quoted.front() == '\'' && quoted.back() == '\'');
  Expect("short", quoted.size() <= kLongestQuotation);
  ExpectEqual("clean", quoted, model::CleanedText(quoted));
}

void CheckWarnings(const std::vector<std::string>& warnings) {
  for (const std::string& warning : warnings) {
    Expect("a warning begins with the tag", warning.starts_with("'\\"));
    ExpectEqual("a warning is clean", warning, model::CleanedText(warning));
  }
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  fuzz::Input input(data, size);
  const std::string voice = input.TakePart();
  const std::string text = input.Rest();

  ExpectEqual("cleaned", engine::CleanText(text), model::CleanedText(text));
  CheckQuoted(text);
  const engine::ParsedText parsed = engine::TagParser::Parse(text, voice);
  const model::SpokenText expected = model::ReadTags(text, voice);
  ExpectEqual("pieces", parsed.pieces.size(), expected.Pieces.size());
  Expect("each piece", parsed.pieces == expected.Pieces);
  ExpectEqual("warnings", parsed.warnings.size(), expected.Warnings);
  CheckWarnings(parsed.warnings);
  return 0;
}
