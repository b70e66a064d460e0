#ifndef KA_ENGINE_TAG_PARSER_H
#define KA_ENGINE_TAG_PARSER_H

// Reads the tags in a text. A pure function of its input: no file, no voice, no output is touched.

#include <string>
#include <string_view>
#include <vector>

#include "Piece.h"

namespace engine {

struct ParsedText {
  Pieces pieces;
  std::vector<std::string> warnings;  ///< one line each: tags that were skipped or corrected
};

/// Reads one text.
///
/// A tag is a backslash, a name of ASCII letters and directly behind it an argument in parentheses
/// that ends at the first ")":
///
///     \audio(play=FILE)  \voice(NAME)  \pause(MS)  \rate(WPM)  \pitch(0..99)  \volume(0..200)
///
/// A tag of another name, or with an argument that makes no sense, is skipped with a warning; a
/// number out of range is taken as the nearest one in range, with a warning. A backslash that
/// begins no tag is dropped alone and what follows is spoken. No tag's name begins with "e":
/// "\e" in the attributes of an announcement document has become an escape character before it
/// gets here, and control characters are dropped.
class TagParser {
 public:
  /// `defaultVoice` speaks until the text names another.
  static ParsedText Parse(std::string_view text, std::string_view defaultVoice);

 private:
  struct Tag;
  using Handler = void (TagParser::*)(std::string_view argument);

  TagParser(std::string text, std::string_view defaultVoice);

  void Run();
  bool ReadTag(Tag& tag, std::size_t backslash);
  void Apply(const Tag& tag);

  void Audio(std::string_view argument);
  void Voice(std::string_view argument);
  void Pause(std::string_view argument);
  void Rate(std::string_view argument);
  void Pitch(std::string_view argument);
  void Volume(std::string_view argument);

  void Set(int SpeechSettings::*setting, int value);
  void FinishSpeech();
  bool ReadNumber(int& number, std::string_view argument, int lowest, int highest);
  void WarnSkipped(std::string_view reason);

  std::string text_;
  std::string_view tagText_;         // the tag being applied, for warnings
  std::size_t nextParenthesis_ = 0;  // the ")" found last; searched once however many tags are open
  SpeechSettings settings_;
  std::string speech_;  // text since the last piece
  ParsedText result_;
};

}  // namespace engine

#endif
