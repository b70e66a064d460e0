// Lexica: TEXT 0 LEXICON 0 CONFIGURATION. TEXT goes through LEXICON as a value of an announcement
// does, and through the lexicon files that CONFIGURATION names as a text with references does.

#include <algorithm>

#include "kaLexicon.h"
#include "kaProfile.h"
#include "kaTTSServer.h"
#include "support/expect.h"
#include "support/input.h"
#include "support/lexicon_model.h"
#include "support/output.h"
#include "support/rich_station.h"
#include "support/station.h"
#include "target.h"

namespace {

using fuzz::ExpectEqual;

/// What a lexicon makes of a text may be as large as its author wants. Beyond this size an input
/// tells nothing new and only takes long.
constexpr std::size_t kLargestResult = 256UL * 1024;

CkaProfile ReadProfile(const std::string& text) {
  const fuzz::Output quiet;
  CkaProfile profile;
  profile.ParseProfileString(text);
  return profile;
}

std::size_t LongestValue(const std::vector<model::Entry>& entries) {
  std::size_t longest = 1;
  for (const model::Entry& entry : entries)
    longest = std::max(longest, entry.Value.size());
  return longest;
}

/// The lexicon under test.
void Apply(const CkaProfile& lexicon, kaMaskedText& masked) {
  ApplyLexicon(masked, lexicon);
}

void CheckLexicon(const std::string& text, const std::string& lexiconText) {
  const model::Profile lexicon = model::ReadProfile(lexiconText);
  if (text.size() * LongestValue(lexicon.Entries) > kLargestResult) return;
  model::Masked expected = model::Free(text);
  model::ReplaceInValue(expected, lexicon.Entries);

  kaMaskedText masked = MakeFreeText(text);
  Apply(ReadProfile(lexiconText), masked);
  ExpectEqual("sizes of text and mask", masked.Text.size(), masked.Mask.size());
  ExpectEqual("text", masked.Text, expected.Text);
  ExpectEqual("mask", masked.Mask, expected.Mask);
}

/// The second of two lexica meets a mask that the first one left.
void CheckSecondLexicon(const std::string& text, const std::string& lexiconText) {
  const std::vector<model::Entry> first = {{"a", "bb"}, {"bc", ""}, {"ä", "a"}};
  const model::Profile second = model::ReadProfile(lexiconText);
  if (2 * text.size() * LongestValue(second.Entries) > kLargestResult) return;
  model::Masked expected = model::Free(text);
  model::ReplaceInText(expected, first);
  model::ReplaceInText(expected, second.Entries);

  kaMaskedText masked = MakeFreeText(text);
  Apply(ReadProfile("a=\"bb\"\nbc=\"\"\nä=\"a\""), masked);
  Apply(ReadProfile(lexiconText), masked);
  ExpectEqual("text after two lexica", masked.Text, expected.Text);
  ExpectEqual("mask after two lexica", masked.Mask, expected.Mask);
}

model::LexiconFiles MakeFiles() {
  fuzz::UseAsRoot(fuzz::TheDirectory());
  fuzz::WriteLexica("");
  return model::LexiconFiles(fuzz::TheDirectory());
}

/// The model looks for every markup again at every mark. With more bytes times markups than this it
/// takes too long to be held against the server.
constexpr std::size_t kMostSearches = 64UL * 1024;

/// Lexicon names stay in the directory of the lexica: elsewhere are devices that never end.
bool NamesOtherDirectory(const std::vector<model::Entry>& configuration) {
  return std::any_of(configuration.begin(), configuration.end(), [](const model::Entry& entry) {
    return entry.Value.find('/') != std::string::npos ||
           entry.Value.find('\0') != std::string::npos;
  });
}

void CheckReferences(const std::string& text, const std::string& configurationText) {
  static auto* files = new model::LexiconFiles(MakeFiles());
  const std::vector<model::Entry> configuration = model::ReadProfile(configurationText).Entries;
  if (NamesOtherDirectory(configuration)) return;

  CkaTTSServer& server = fuzz::TheServer();
  server.kaConfig = ReadProfile(configurationText);
  const fuzz::Output output;
  const std::string result = server.ApplyLexRef(text);
  server.kaConfig.ProfValues = {};  // what stays behind looks like a leak
  if (text.size() * configuration.size() > kMostSearches) return;

  model::Printed printed;
  const std::string expected = model::AppliedReferences(text, configuration, *files, printed);
  ExpectEqual("text with references", result, expected);
  ExpectEqual("printed", output.Out(), printed.Out);
  ExpectEqual("reported", output.Err(), printed.Err);
}

}  // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  fuzz::Input input(data, size);
  const std::string text = input.TakePart();
  const std::string lexicon = input.TakePart();
  const std::string configuration = input.Rest();
  CheckLexicon(text, lexicon);
  CheckSecondLexicon(text, lexicon);
  CheckReferences(text, configuration);
  return 0;
}
