#include "level/station_sounds.h"

#include <algorithm>
#include <string>
#include <system_error>

#include "common/document.h"

namespace tools {

namespace {

namespace fs = std::filesystem;

/// What the server puts behind the name of a sound where nothing is configured.
constexpr std::string_view kDefaultPlaySuffix = ".wav) ";

class Collector {
 public:
  explicit Collector(const Station& station) : station_(station) {}

  std::vector<StationSound> Collect() {
    AddBell();
    const Document document(station_.Document());
    if (document.References() == nullptr) return sounds_;
    const auto languages = document.References()->ChildrenCalled("Language");
    for (const Element* language : languages)
      AddSounds(*language);
    for (const Element* language : languages) {
      for (const Element* section : languages) {
        if (section == language || section->Value("name") == "all") {
          AddPhrases(language->Value("name"), *section);
        }
      }
    }
    return sounds_;
  }

 private:
  /// A configured directory, "" if there is none.
  fs::path Directory(const char* key) const {
    const std::string value = station_.Value(key);
    return value.empty() ? "" : station_.Resolve(value);
  }

  /// The ending of a sound's file: what the configured tag puts directly behind the name.
  std::string Ending() const {
    const std::string configured = station_.Value("playsuffix");
    const std::string suffix(configured.empty() ? kDefaultPlaySuffix : configured);
    return suffix.substr(0, suffix.find_first_of(") \"'>;,"));
  }

  void AddBell() {
    const std::string name = station_.Value("bellfile");
    const fs::path directory = Directory("nonvoicesounds");
    if (!name.empty() && !directory.empty()) Add(SoundKind::Bell, directory / name);
  }

  void AddSounds(const Element& language) {
    const fs::path directory = Directory("nonvoicesounds");
    if (directory.empty()) return;
    for (const Element* element : language.ChildrenCalled("Element")) {
      if (element->Value("trait") == "sound")
        Add(SoundKind::Sound, directory / (element->Value("id") + Ending()));
    }
  }

  void AddPhrases(const std::string& language, const Element& section) {
    const fs::path directory = Directory("steadyspeeches");
    if (directory.empty()) return;
    std::error_code unknown;
    for (const Element* element : section.ChildrenCalled("Element")) {
      const fs::path file = directory / language / (element->Value("id") + ".wav");
      if (element->Value("trait") == "steady" && fs::exists(file, unknown))
        Add(SoundKind::Speech, file);
    }
  }

  void Add(SoundKind kind, const fs::path& file) {
    const fs::path name = file.lexically_normal();
    if (std::ranges::find(sounds_, name, &StationSound::File) == sounds_.end())
      sounds_.push_back({kind, name});
  }

  const Station& station_;
  std::vector<StationSound> sounds_;
};

}  // namespace

std::string_view NameOf(SoundKind kind) {
  switch (kind) {
    case SoundKind::Sound:
      return "sound";
    case SoundKind::Bell:
      return "bell";
    case SoundKind::Speech:
      return "speech";
  }
  return "";
}

std::vector<StationSound> SoundsOf(const Station& station) {
  return Collector(station).Collect();
}

}  // namespace tools
