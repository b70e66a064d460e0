#ifndef KA_TOOLS_LEVELLING_H
#define KA_TOOLS_LEVELLING_H

#include <filesystem>
#include <map>
#include <optional>
#include <string>

#include "common/language.h"
#include "level/audio_file.h"
#include "level/station_sounds.h"

namespace tools {

/// A file whose loudness differs by less than this counts as levelled, in LU.
constexpr double kLoudnessTolerance = 0.5;

/// What the files are brought to.
struct LevelGoal {
  double Loudness = -23;                ///< LUFS
  double Peak = -1;                     ///< dBTP, never exceeded
  std::map<SoundKind, double> Offsets;  ///< LU, added to Loudness

  /// The loudness for a kind of sounds, in LUFS.
  double LoudnessOf(SoundKind kind) const;
};

enum class LevelState {
  Fine,      ///< loudness and peak are as wanted
  Off,       ///< a gain brings it there
  Limited,   ///< too soft, and its peak allows no gain that brings it there
  Levelled,  ///< was written, and is as wanted now
  Silent,    ///< nothing to measure
  Failed     ///< could not be read or written
};

/// "fine", "off", "limited", "levelled", "silent" or "failed", the same in every language.
std::string_view NameOf(LevelState state);

/// An audio file, how loud it is and what is to be done with it.
struct FileLevel {
  StationSound Sound;
  LevelState State = LevelState::Fine;
  AudioFormat Format;                ///< unless it could not be read
  Measurement Before;                ///< unless it could not be read
  double Target = 0;                 ///< LUFS
  double Gain = 0;                   ///< dB; 0 unless the state was Off or Limited
  bool bLimited = false;             ///< the peak keeps Gain from reaching the target
  std::optional<Measurement> After;  ///< once written
  std::filesystem::path Backup;      ///< where the original is, once written
  std::string Problem;               ///< of a failed one, in the user's language
};

/// Measures a file. Never throws: a file that cannot be measured is Failed.
FileLevel Examine(const StationSound& sound, const LevelGoal& goal, Language language);

/// Writes a file that is Off or Limited with its gain, after its original was kept as `backup`, and
/// measures it again. Leaves alone one for which no gain is worth it. Never throws: a file that
/// cannot be written is Failed and as it was.
void Write(FileLevel& level, const std::filesystem::path& backup, const LevelGoal& goal,
           Language language);

}  // namespace tools

#endif
