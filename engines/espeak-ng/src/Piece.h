#ifndef KA_ENGINE_PIECE_H
#define KA_ENGINE_PIECE_H

// What a text consists of once its tags are read: speech, audio files and pauses, in order.

#include <chrono>
#include <string>
#include <variant>
#include <vector>

namespace engine {

constexpr int kNormalVolume = 100;

/// How a text is spoken. The numbers are espeak-ng's own defaults and units.
struct SpeechSettings {
  std::string voice;             ///< as written, e.g. "de" or "en-gb+f3"
  int rateWordsPerMinute = 175;  ///< 80..450
  int pitch = 50;                ///< 0..99
  int volume = kNormalVolume;    ///< 0..200, 100 is normal

  bool operator==(const SpeechSettings&) const = default;
};

/// Text without tags or control characters, valid UTF-8, with at least one non-blank character.
struct SpeechPiece {
  std::string text;
  SpeechSettings settings;

  bool operator==(const SpeechPiece&) const = default;
};

/// An audio file that is heard at this point. Whether it can be read is not known yet.
struct AudioPiece {
  std::string path;

  bool operator==(const AudioPiece&) const = default;
};

struct PausePiece {
  std::chrono::milliseconds length{};

  bool operator==(const PausePiece&) const = default;
};

using Piece = std::variant<SpeechPiece, AudioPiece, PausePiece>;
using Pieces = std::vector<Piece>;

}  // namespace engine

#endif
