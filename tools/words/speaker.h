#ifndef KA_TOOLS_SPEAKER_H
#define KA_TOOLS_SPEAKER_H

#include <filesystem>
#include <string>

#include "common/station.h"

namespace tools {

/// Has the station's engine speak a text at once, by the command that the server runs for a text.
/// \return whether the command ended with status 0
bool Play(const Station& station, const std::string& text);

/// Has the station's engine make a .wav file of a text, by the command that the server runs for an
/// announcement.
/// \return whether the command ended with status 0
bool Save(const Station& station, const std::string& text, const std::filesystem::path& file);

/// The voice of texts that name none: the engine's own, or that of the station's command.
std::string DefaultVoice(const Station& station);

}  // namespace tools

#endif
