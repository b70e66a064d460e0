#ifndef KA_TOOLS_AUDIO_FILE_H
#define KA_TOOLS_AUDIO_FILE_H

#include <sndfile.h>

#include <cstddef>
#include <filesystem>
#include <functional>
#include <memory>
#include <span>
#include <string>

#include "common/cannot_run.h"
#include "level/loudness_meter.h"

namespace tools {

/// What an audio file is, beside its sound.
struct AudioFormat {
  int SampleRate = 0;
  int Channels = 0;
  std::size_t Frames = 0;
  std::string Coding;  ///< "8", "16", "24" or "32" bit, or "float" or "double"

  double Seconds() const { return static_cast<double>(Frames) / SampleRate; }
};

/// A .wav file of plain samples: integers of 8, 16, 24 or 32 bit, or floating point numbers.
class AudioFile {
 public:
  /// \throws CannotRun if it cannot be read or is of another kind.
  explicit AudioFile(const std::filesystem::path& file);

  AudioFormat Format() const;
  /// \throws CannotRun if it cannot be read to its end.
  Measurement Measure();
  /// Writes the sound, louder by `gain` as a factor, in the same coding, rate and channels to an
  /// open empty file, with the texts that name title, artist and so on. Other things that a .wav
  /// file may carry, such as marks, are left behind.
  /// \throws CannotRun if either fails.
  void CopyTo(int descriptor, double gain);

 private:
  struct Deleter {
    void operator()(SNDFILE* file) const { sf_close(file); }
  };
  using Handle = std::unique_ptr<SNDFILE, Deleter>;

  void ForEachBlock(const std::function<void(std::span<double>)>& work);
  void CopyTexts(SNDFILE* target) const;

  std::filesystem::path file_;
  SF_INFO info_{};
  Handle handle_;
};

}  // namespace tools

#endif
