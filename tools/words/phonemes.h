#ifndef KA_TOOLS_PHONEMES_H
#define KA_TOOLS_PHONEMES_H

#include <map>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>

#include "VoiceFinder.h"

namespace tools {

/// What espeak-ng makes of a text. The library keeps its state in global variables, so there is one
/// object in the life of a process.
class Phonemes {
 public:
  /// \throws std::runtime_error if espeak-ng does not find its data.
  Phonemes();
  Phonemes(const Phonemes&) = delete;
  Phonemes& operator=(const Phonemes&) = delete;

  /// The phonemes of a text in espeak-ng's mnemonics, clauses joined by " || ".
  /// \param voice as a \voice tag names it, e.g. "de" or "en-gb+f3"
  /// \throws std::runtime_error if the engine has no such voice.
  std::string Of(const std::string& text, const std::string& voice);

 private:
  void Select(const std::string& voice);

  std::optional<engine::VoiceFinder> voices_;
  std::map<std::string, std::string, std::less<>> identifiers_;  // of the voices found so far
  std::string selected_;
};

/// Phonemes as they are compared: without blanks and without the short pauses and glottal stops
/// inside a clause, which differ between a figure and the same number in letters.
std::string WithoutPauses(std::string_view phonemes);

}  // namespace tools

#endif
