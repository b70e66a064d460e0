#ifndef KA_TOOLS_CONFIGURATION_KEYS_H
#define KA_TOOLS_CONFIGURATION_KEYS_H

#include <string>
#include <string_view>
#include <vector>

#include "common/language.h"

namespace tools {

/// A key that the server cannot do without, and what becomes of it without.
struct ConfigurationKey {
  std::string Name;
  Bilingual Without;
};

/// The texts and paths that every configuration needs. Two keys bear the name of the engine; they
/// are left out if that is unknown.
std::vector<ConfigurationKey> NeededKeys(const std::string& engine);

/// Keys whose values are numbers of ports.
inline constexpr std::string_view kPortKeys[] = {"reginputport", "rblinputport", "cmdinputport"};

/// What the two keys of an engine begin with.
inline constexpr std::string_view kSpeakKey = "speakout";
inline constexpr std::string_view kSaveKey = "savespeech";

}  // namespace tools

#endif
