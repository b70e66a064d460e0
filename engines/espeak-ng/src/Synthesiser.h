#ifndef KA_ENGINE_SYNTHESISER_H
#define KA_ENGINE_SYNTHESISER_H

#include <map>
#include <optional>
#include <string>

#include "Piece.h"
#include "SampleSink.h"
#include "VoiceFinder.h"

namespace engine {

/// espeak-ng. The library keeps its state in global variables, so there is one object in the life
/// of a process; what the library holds is left to the end of the process.
class Synthesiser {
 public:
  /// Throws Failure if espeak-ng does not find its data.
  Synthesiser();
  Synthesiser(const Synthesiser&) = delete;
  Synthesiser& operator=(const Synthesiser&) = delete;

  /// Throws Failure if there is no voice of this name.
  void RequireVoice(const std::string& name);

  /// Writes the spoken text to `sink`, some 60 ms at a time, while it is being synthesised. Throws
  /// Failure if there is no such voice; what `sink` throws ends the speech and is passed on.
  void Speak(const SpeechPiece& piece, SampleSink& sink);

  /// The version of espeak-ng.
  static std::string Version();

 private:
  void SelectVoice(const std::string& name);

  std::optional<VoiceFinder> voices_;
  std::map<std::string, std::string, std::less<>> identifiers_;  // of the voices found so far
  std::string selectedVoice_;
};

}  // namespace engine

#endif
