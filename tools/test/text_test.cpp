#include "test/text_test.h"

#include <algorithm>
#include <map>
#include <set>
#include <system_error>

#include "kaFile.h"
#include "preview/preview_text.h"

namespace tools {

namespace {

namespace fs = std::filesystem;
using Outcome = BlockTest::Outcome;

constexpr const char* kBlock = ".xml";
constexpr const char* kExpected = ".expected";
constexpr Bilingual kNoBlocks = {"enthält keine Blöcke (*.xml)", "has no blocks (*.xml)"};
constexpr Bilingual kNotWritten = {"kann nicht geschrieben werden", "cannot be written"};

/// The texts by name; the second and further ones of a name have a number behind it.
std::map<std::string, std::string> ByName(const ExpectedTexts& texts) {
  std::map<std::string, std::string> byName;
  for (const ExpectedTexts::Text& text : texts.Texts) {
    std::string name = text.Name;
    for (int number = 2; byName.contains(name); ++number)
      name = text.Name + " (" + std::to_string(number) + ")";
    byName[name] = text.Said;
  }
  return byName;
}

std::vector<TextDifference> DifferencesOf(const ExpectedTexts& expected,
                                          const ExpectedTexts& present) {
  const auto before = ByName(expected);
  const auto now = ByName(present);
  std::vector<TextDifference> differences;
  for (const auto& [name, text] : before) {
    const auto found = now.find(name);
    if (found == now.end()) {
      differences.push_back({name, text, std::nullopt});
    } else if (found->second != text) {
      differences.push_back({name, text, found->second});
    }
  }
  for (const auto& [name, text] : now)
    if (!before.contains(name)) differences.push_back({name, std::nullopt, text});
  return differences;
}

}  // namespace

TextTests::TextTests(const fs::path& directory, Preview& preview, Language language)
    : directory_(directory), preview_(preview), language_(language), marks_(preview.Builder()) {
  std::set<std::string> names;
  bool hasBlock = false;
  std::error_code none;
  for (const fs::directory_entry& entry : fs::directory_iterator(directory, none)) {
    const fs::path& file = entry.path();
    if (file.extension() != kBlock && file.extension() != kExpected) continue;
    hasBlock = hasBlock || file.extension() == kBlock;
    names.insert(file.stem().string());
  }
  if (!hasBlock) throw CannotRun(kNoBlocks, directory);
  names_.assign(names.begin(), names.end());
}

std::vector<BlockTest> TextTests::Run() {
  std::vector<BlockTest> tests;
  std::transform(names_.begin(), names_.end(), std::back_inserter(tests),
                 [this](const std::string& name) { return RunBlock(name); });
  return tests;
}

void TextTests::Accept(const BlockTest& test) const {
  const fs::path file = File(test.Name, kExpected);
  if (!CkaFile().WriteToFile(file.c_str(), WriteExpected(test.Present), true)) {
    throw CannotRun(kNotWritten, file);
  }
}

BlockTest TextTests::RunBlock(const std::string& name) {
  BlockTest test;
  test.Name = name;
  const fs::path block = File(name, kBlock);
  if (!fs::exists(block)) {
    test.Result = Outcome::BlockMissing;
    return test;
  }
  const BlockPreview preview = preview_.Of(Read(block), false);
  const ExpectedTexts present = PresentTexts(preview);
  test.Present = marks_.WithMarks(present);
  test.Refusals = RefusalLines(preview, block.string(), preview_, language_);
  if (!fs::exists(File(name, kExpected))) {
    test.Result = Outcome::New;
    return test;
  }
  const ExpectedTexts expected = ReadExpected(Read(File(name, kExpected)));
  test.ExpectedEnding = expected.Ending;
  if (marks_.WithDirectories(expected) == present) return test;
  test.Result = Outcome::Different;
  test.Differences = DifferencesOf(expected, test.Present);
  return test;
}

fs::path TextTests::File(const std::string& name, const char* ending) const {
  return directory_ / (name + ending);
}

}  // namespace tools
