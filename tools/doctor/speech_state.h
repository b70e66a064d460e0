#ifndef KA_TOOLS_SPEECH_STATE_H
#define KA_TOOLS_SPEECH_STATE_H

#include <optional>
#include <string>
#include <vector>

#include "common/language.h"
#include "doctor/file_state.h"

namespace tools {

/// How a speech file stands to the text that it was made of.
enum class SpeechState { Good, Missing, Empty, NoWave, Truncated, Outdated };

/// What is wrong with it, e.g. "empty".
Bilingual InWords(SpeechState state);

/// A text and the speech file beside it.
struct Speech {
  std::string TextFile;
  std::string WaveFile;
  SpeechState State = SpeechState::Good;
  std::optional<FileState> Text;  ///< nothing if there is no text file
  std::optional<FileState> Wave;

  bool operator==(const Speech& other) const = default;
};

/// Looks at both files. A speech file that may not be read counts as good as long as it is as
/// young as its text.
Speech LookAt(const std::string& textFile, const std::string& waveFile);

/// Those of `speeches` that nobody makes at the moment and that stay as they are for half a second.
std::vector<Speech> LeftAlone(std::vector<Speech> speeches);

/// Looks at a speech file alone, whatever its age.
SpeechState ContentOf(const std::string& waveFile);

}  // namespace tools

#endif
