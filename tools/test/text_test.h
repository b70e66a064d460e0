#ifndef KA_TOOLS_TEXT_TEST_H
#define KA_TOOLS_TEXT_TEST_H

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "test/expected_texts.h"

namespace tools {

/// One text that is other than expected.
struct TextDifference {
  std::string Name;
  std::optional<std::string> Expected;  ///< none: there is a text that nobody expects
  std::optional<std::string> Present;   ///< none: there is no such text any more
};

/// What a block gives, beside what it is expected to give. Texts have the station's marks.
struct BlockTest {
  enum class Outcome {
    Passed,
    Different,
    New,          ///< there are no expected texts
    BlockMissing  ///< there are expected texts without a block
  };

  std::string Name;  ///< of the block, without ending
  Outcome Result = Outcome::Passed;
  std::vector<TextDifference> Differences;
  ExpectedTexts::End ExpectedEnding = ExpectedTexts::End::Made;
  ExpectedTexts Present;
  std::vector<std::string> Refusals;  ///< why the block is refused or given up now
};

/// The tests of a directory: a file NAME.xml for each block, and NAME.expected beside it.
class TextTests {
 public:
  /// \throws CannotRun if there is no block.
  TextTests(const std::filesystem::path& directory, Preview& preview, Language language);

  /// Runs the tests of all blocks, by name.
  std::vector<BlockTest> Run();
  /// Writes what the block gives now as what it is expected to give.
  void Accept(const BlockTest& test) const;

 private:
  BlockTest RunBlock(const std::string& name);
  std::filesystem::path File(const std::string& name, const char* ending) const;

  std::filesystem::path directory_;
  Preview& preview_;
  Language language_;
  StationMarks marks_;
  std::vector<std::string> names_;
};

}  // namespace tools

#endif
