#ifndef KA_TOOLS_EXPECTED_TEXTS_H
#define KA_TOOLS_EXPECTED_TEXTS_H

#include <string>
#include <string_view>
#include <vector>

#include "preview/preview.h"

namespace tools {

/// What a data block is expected to give, as a file "NAME.expected" tells it: a line
/// "STORE-FILE<TAB>TEXT" for each text in the order in which the server makes them. A text of
/// several lines goes on in lines that begin with a tab. A block that is refused has the line
/// "rejected"; one that is given up ends with the line "given up" behind the texts made before.
struct ExpectedTexts {
  struct Text {
    std::string Name;
    std::string Said;

    bool operator==(const Text&) const = default;
  };
  enum class End { Made, Rejected, GivenUp };

  End Ending = End::Made;
  std::vector<Text> Texts;

  bool operator==(const ExpectedTexts&) const = default;
};

ExpectedTexts ReadExpected(std::string_view file);
std::string WriteExpected(const ExpectedTexts& texts);

/// What the server makes.
ExpectedTexts PresentTexts(const BlockPreview& preview);

/// The directories that differ from station to station. In files of expected texts @SOUNDS@ and
/// @STEADY@ stand for them.
class StationMarks {
 public:
  explicit StationMarks(const CkaSpeechbuilder& builder);

  ExpectedTexts WithMarks(ExpectedTexts texts) const;
  ExpectedTexts WithDirectories(ExpectedTexts texts) const;

 private:
  struct Mark {
    std::string Name;
    std::string Directory;
  };
  std::vector<Mark> marks_;  ///< longer directories first
};

}  // namespace tools

#endif
