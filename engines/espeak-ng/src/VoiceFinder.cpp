#include "VoiceFinder.h"

#include <espeak-ng/speak_lib.h>
#include <strings.h>

#include <cstddef>
#include <limits>
#include <system_error>
#include <utility>

namespace engine {
namespace {

namespace fs = std::filesystem;

constexpr int kNoMatch = std::numeric_limits<int>::max();
constexpr int kExactName = -1;  // before every language, whose priorities begin at 0

bool IsRegularFile(const fs::path& path) {
  std::error_code ignored;  // a file that cannot be asked for counts as missing
  return fs::is_regular_file(path, ignored);
}

bool IsFileName(std::string_view name) {
  return !name.empty() && name.front() != '.' && name.find('/') == std::string_view::npos;
}

bool EqualIgnoringCase(const char* a, const std::string& b) {
  return ::strcasecmp(a, b.c_str()) == 0;
}

// Voices for MBROLA need another program, and variants are no voices of their own.
bool IsOffered(const espeak_VOICE& voice) {
  const std::string_view identifier = voice.identifier;
  return !identifier.starts_with("mb/") && !identifier.starts_with("!v/");
}

// How well a voice matches: lower is better. `languages` is a list of a priority byte and a
// NUL-terminated name each, which ends with a priority of 0.
int MatchLanguage(const char* languages, const std::string& name) {
  while (*languages != '\0') {
    const auto priority = static_cast<unsigned char>(*languages++);
    if (EqualIgnoringCase(languages, name)) return priority;
    languages += std::string_view(languages).size() + 1;
  }
  return kNoMatch;
}

int Match(const espeak_VOICE& voice, const std::string& name) {
  if (!IsOffered(voice)) return kNoMatch;
  return EqualIgnoringCase(voice.name, name) ? kExactName : MatchLanguage(voice.languages, name);
}

std::optional<std::string> FindByName(const std::string& name) {
  int best = kNoMatch;
  std::optional<std::string> found;
  for (const espeak_VOICE** voice = espeak_ListVoices(nullptr); *voice != nullptr; ++voice) {
    const int quality = Match(**voice, name);
    if (quality >= best) continue;
    best = quality;
    found = (*voice)->identifier;
  }
  return found;
}

}  // namespace

VoiceFinder::VoiceFinder(fs::path dataDirectory) : dataDirectory_(std::move(dataDirectory)) {}

std::optional<std::string> VoiceFinder::Find(std::string_view name) const {
  const std::size_t plus = name.find('+');
  const std::string_view base = name.substr(0, plus);
  const std::string_view variant =
      plus == std::string_view::npos ? std::string_view() : name.substr(plus + 1);
  const bool hasPlus = plus != std::string_view::npos;
  if (hasPlus && !HasVariant(variant)) return std::nullopt;
  std::optional<std::string> identifier = FindByFile(base);
  if (!identifier) identifier = FindByName(std::string(base));
  if (identifier && hasPlus) identifier->append("+").append(variant);
  return identifier;
}

bool VoiceFinder::HasVariant(std::string_view variant) const {
  return IsFileName(variant) && IsRegularFile(dataDirectory_ / "voices" / "!v" / variant);
}

std::optional<std::string> VoiceFinder::FindByFile(std::string_view name) const {
  const fs::path languages = dataDirectory_ / "lang";
  const std::size_t slash = name.find('/');
  if (slash != std::string_view::npos) {
    const bool isBelow = IsFileName(name.substr(0, slash)) && IsFileName(name.substr(slash + 1));
    return isBelow && IsRegularFile(languages / name) ? std::optional<std::string>(name)
                                                      : std::nullopt;
  }
  if (!IsFileName(name)) return std::nullopt;
  if (IsRegularFile(languages / name)) return std::string(name);
  std::error_code ignored;  // without the directory there is no such file
  for (const fs::directory_entry& family : fs::directory_iterator(languages, ignored)) {
    if (IsRegularFile(family.path() / name)) return (family.path().filename() / name).string();
  }
  return std::nullopt;
}

}  // namespace engine
