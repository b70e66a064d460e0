#ifndef KA_TOOLS_STATION_SOUNDS_H
#define KA_TOOLS_STATION_SOUNDS_H

#include <array>
#include <filesystem>
#include <string_view>
#include <vector>

#include "common/station.h"

namespace tools {

/// What an audio file of a station is for.
enum class SoundKind {
  Sound,  ///< heard within announcements: an element of trait "sound" names it
  Bell,   ///< the configured sound of the command "!bell"
  Speech  ///< a prepared phrase
};

inline constexpr std::array kSoundKinds = {SoundKind::Sound, SoundKind::Bell, SoundKind::Speech};

/// "sound", "bell" or "speech", the same in every language.
std::string_view NameOf(SoundKind kind);

/// An audio file of a station.
struct StationSound {
  SoundKind Kind = SoundKind::Sound;
  std::filesystem::path File;
};

/// All audio files that a station's document and configuration name, each once: a file that is the
/// bell and a sound is the bell. Prepared phrases that the server has not made yet are left out.
/// \throws CannotRun if the document cannot be read.
std::vector<StationSound> SoundsOf(const Station& station);

}  // namespace tools

#endif
