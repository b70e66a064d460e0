#ifndef KA_ENGINE_VOICE_FINDER_H
#define KA_ENGINE_VOICE_FINDER_H

#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

namespace engine {

/// Finds out what espeak-ng calls a voice by its file, e.g. "gmw/de" for "de" and "gmw/en+f3" for
/// "en-gb+f3".
///
/// A voice that is named like its file costs some stat() calls. Only for the others (languages
/// that a file lists, as "en-gb" in the file "en", and full names as "German") espeak-ng has to
/// read all its voice files, which takes some milliseconds. MBROLA voices are not offered.
class VoiceFinder {
 public:
  /// `dataDirectory` is espeak-ng's own; the library has to be initialised.
  explicit VoiceFinder(std::filesystem::path dataDirectory);

  /// None if there is no such voice, or not the variant behind its "+".
  std::optional<std::string> Find(std::string_view name) const;

 private:
  bool HasVariant(std::string_view variant) const;
  std::optional<std::string> FindByFile(std::string_view name) const;

  std::filesystem::path dataDirectory_;
};

}  // namespace engine

#endif
