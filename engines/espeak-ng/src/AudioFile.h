#ifndef KA_ENGINE_AUDIO_FILE_H
#define KA_ENGINE_AUDIO_FILE_H

#include <sndfile.h>

#include <memory>
#include <string>

#include "SampleSink.h"
#include "UniqueFd.h"

namespace engine {

/// An audio file of any format that libsndfile reads. The library is loaded with the first file.
class AudioFile {
 public:
  /// Throws FileError if the path leads to no readable audio file.
  explicit AudioFile(const std::string& path);

  /// Writes the file's sound to `sink`, mixed down to mono and resampled. Throws FileError if the
  /// sound cannot be decoded to its end; what came before has been written then.
  void PlayInto(SampleSink& sink);

 private:
  struct Deleter {
    void operator()(SNDFILE* file) const;
  };

  void Open();
  [[noreturn]] void ThrowError(const std::string& reason) const;

  std::string path_;
  UniqueFd descriptor_;
  SF_INFO info_{};
  std::unique_ptr<SNDFILE, Deleter> file_;
};

}  // namespace engine

#endif
