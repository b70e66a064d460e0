#include "support/loudness.h"

#include <ebur128.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>
#include <memory>
#include <vector>

namespace support {

namespace {

constexpr double kNothing = -std::numeric_limits<double>::infinity();

struct Deleter {
  void operator()(ebur128_state* state) const { ebur128_destroy(&state); }
};
using State = std::unique_ptr<ebur128_state, Deleter>;

State NewState(int sampleRate, int mode) {
  return State(ebur128_init(1, static_cast<unsigned long>(sampleRate), mode));
}

}  // namespace

double LoudnessOf(std::span<const float> samples, int sampleRate) {
  return static_cast<double>(samples.size()) < 3.0 * sampleRate
             ? MomentaryLoudnessOf(samples, sampleRate)
             : IntegratedLoudnessOf(samples, sampleRate);
}

double IntegratedLoudnessOf(std::span<const float> samples, int sampleRate) {
  const State state = NewState(sampleRate, EBUR128_MODE_I);
  ebur128_add_frames_float(state.get(), samples.data(), samples.size());
  double loudness = kNothing;
  ebur128_loudness_global(state.get(), &loudness);
  return loudness;
}

double MomentaryLoudnessOf(std::span<const float> samples, int sampleRate) {
  const auto window = static_cast<std::size_t>(sampleRate) * 2 / 5;
  const auto hop = static_cast<std::size_t>(sampleRate) / 100;
  std::vector<float> padded(samples.begin(), samples.end());
  padded.resize(std::max(padded.size(), window));
  const State state = NewState(sampleRate, EBUR128_MODE_M);
  double largest = kNothing;
  std::size_t step = window;
  for (std::size_t at = 0; at + step <= padded.size(); at += step, step = hop) {
    ebur128_add_frames_float(state.get(), padded.data() + at, step);
    double loudness = kNothing;
    ebur128_loudness_momentary(state.get(), &loudness);
    largest = std::max(largest, loudness);
  }
  return largest;
}

double TruePeakOf(std::span<const float> samples, int sampleRate) {
  const State state = NewState(sampleRate, EBUR128_MODE_TRUE_PEAK);
  ebur128_add_frames_float(state.get(), samples.data(), samples.size());
  double peak = 0;
  ebur128_true_peak(state.get(), 0, &peak);
  return 20 * std::log10(peak);
}

}  // namespace support
