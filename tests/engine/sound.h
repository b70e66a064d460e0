#ifndef KA_TESTS_ENGINE_SOUND_H
#define KA_TESTS_ENGINE_SOUND_H

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "SampleSink.h"

namespace engine_test {

/// A recording, as written by the program or by a test.
struct Sound {
  int sampleRate = 0;
  int channels = 0;
  int format = 0;  ///< libsndfile's
  std::vector<float> samples;

  double Seconds() const;
  /// From `begin` to `end`, in seconds.
  std::span<const float> Part(double begin, double end) const;
};

/// Throws std::runtime_error if there is no such audio file.
Sound ReadSound(const std::string& path);

/// Root of the mean square, 0 to 1; 0 for no samples.
double Level(std::span<const float> samples);

/// The share, 0 to 1, of the samples' energy that is a tone of `hertz`, at 22,050 Hz.
double ToneShare(std::span<const float> samples, double hertz);

struct Tone {
  double hertz = 1000;
  double seconds = 0.5;
  double amplitude = 0.5;
  int sampleRate = 22050;
  int channels = 1;
  int soundingChannels = 1;  ///< the others are silent
  int format = 0;            ///< libsndfile's; 0 is 16-bit .wav
};

/// Writes an audio file with a sine tone and returns its path.
std::string WriteTone(const std::string& path, const Tone& tone);

/// Keeps what it is given.
class RecordingSink final : public engine::SampleSink {
 public:
  void Write(engine::Samples given) override {
    samples.insert(samples.end(), given.begin(), given.end());
  }

  std::vector<float> AsFloats() const;

  std::vector<std::int16_t> samples;
};

}  // namespace engine_test

#endif
