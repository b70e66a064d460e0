#ifndef KA_ENGINE_SAMPLE_SINK_H
#define KA_ENGINE_SAMPLE_SINK_H

// Where samples go: a .wav file, the player, or a check in front of either.

#include <bit>
#include <cstdint>
#include <span>

namespace engine {

/// All sound inside the program is mono, 16 bit, at this rate: what espeak-ng itself produces.
constexpr int kSampleRate = 22050;

// Samples go to .wav files and to the player as they stand in memory; both expect the lowest byte
// first.
static_assert(std::endian::native == std::endian::little);

using Samples = std::span<const std::int16_t>;

class SampleSink {
 public:
  SampleSink() = default;
  SampleSink(const SampleSink&) = delete;
  SampleSink& operator=(const SampleSink&) = delete;
  virtual ~SampleSink() = default;

  /// Samples will come soon: what takes its time to get ready can begin.
  virtual void Prepare() {}

  /// Takes all samples, or throws Failure.
  virtual void Write(Samples samples) = 0;
};

}  // namespace engine

#endif
