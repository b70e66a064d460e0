#include "kaLexiconCache.h"

#include <sys/stat.h>

#include <ctime>
#include <utility>

const kaLexicon* kaLexiconCache::Load(const std::string& path) {
  kaLoadedFile& file = files_[path];
  const std::optional<kaFileState> state = StateOf(path);
  if (!state || file.State != state) {
    file = Read(path);
    // The state is from before the reading: a change in between shows the next time. A file that
    // could not be read to its end is read again.
    const bool isWhole = state && file.BytesRead == static_cast<std::size_t>(state->Size);
    if (isWhole && IsSettled(*state)) file.State = state;
  }
  PrintReports(file.Reports);
  return file.Lexicon ? &*file.Lexicon : nullptr;
}

std::optional<kaLexiconCache::kaFileState> kaLexiconCache::StateOf(const std::string& path) {
  struct stat status {};
  if (stat(path.c_str(), &status) != 0) return std::nullopt;
  return kaFileState{status.st_dev, status.st_ino, status.st_size, status.st_ctim.tv_sec,
                     status.st_ctim.tv_nsec};
}

/// Whether the last change is long enough ago. One in the future is not: the clock was set back.
bool kaLexiconCache::IsSettled(const kaFileState& state) {
  constexpr std::time_t kSettlingSeconds = 2;
  return std::time(nullptr) - state.ChangeSecond > kSettlingSeconds;
}

kaLexiconCache::kaLoadedFile kaLexiconCache::Read(const std::string& path) {
  kaLoadedFile file;
  const kaOutputCapture capture(file.Reports);
  CkaProfile profile;
  if (profile.Initialize(path)) file.Lexicon.emplace(std::move(profile.ProfValues));
  file.BytesRead = profile.GetBytesRead();
  return file;
}
