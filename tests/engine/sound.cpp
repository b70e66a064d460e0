#include "sound.h"

#include <sndfile.h>

#include <algorithm>
#include <cmath>
#include <numbers>
#include <numeric>
#include <stdexcept>

namespace engine_test {

double Sound::Seconds() const {
  return static_cast<double>(samples.size()) / channels / sampleRate;
}

std::span<const float> Sound::Part(double begin, double end) const {
  const auto frame = [&](double seconds) {
    const auto index =
        static_cast<std::size_t>(seconds * sampleRate) * static_cast<std::size_t>(channels);
    return std::min(index, samples.size());
  };
  return std::span(samples).subspan(frame(begin), frame(end) - frame(begin));
}

Sound ReadSound(const std::string& path) {
  SF_INFO info{};
  SNDFILE* file = sf_open(path.c_str(), SFM_READ, &info);
  if (file == nullptr) throw std::runtime_error(path + ": " + sf_strerror(nullptr));
  Sound sound{info.samplerate, info.channels, info.format, {}};
  sound.samples.resize(static_cast<std::size_t>(info.frames * info.channels));
  sf_readf_float(file, sound.samples.data(), info.frames);
  sf_close(file);
  return sound;
}

double Level(std::span<const float> samples) {
  if (samples.empty()) return 0;
  const double energy = std::inner_product(samples.begin(), samples.end(), samples.begin(), 0.0);
  return std::sqrt(energy / static_cast<double>(samples.size()));
}

double ToneShare(std::span<const float> samples, double hertz) {
  const double step = 2 * std::numbers::pi * hertz / engine::kSampleRate;
  double sine = 0;
  double cosine = 0;
  double energy = 0;
  for (std::size_t i = 0; i < samples.size(); ++i) {
    const double sample = samples[i];
    sine += sample * std::sin(step * static_cast<double>(i));
    cosine += sample * std::cos(step * static_cast<double>(i));
    energy += sample * sample;
  }
  if (energy == 0) return 0;
  return 2 * (sine * sine + cosine * cosine) / (energy * static_cast<double>(samples.size()));
}

std::string WriteTone(const std::string& path, const Tone& tone) {
  SF_INFO info{};
  info.samplerate = tone.sampleRate;
  info.channels = tone.channels;
  info.format = tone.format == 0 ? SF_FORMAT_WAV | SF_FORMAT_PCM_16 : tone.format;
  SNDFILE* file = sf_open(path.c_str(), SFM_WRITE, &info);
  if (file == nullptr) throw std::runtime_error(path + ": " + sf_strerror(nullptr));
  const auto frames = static_cast<sf_count_t>(tone.seconds * tone.sampleRate);
  std::vector<double> frame(static_cast<std::size_t>(tone.channels));
  for (sf_count_t i = 0; i < frames; ++i) {
    const double phase =
        2 * std::numbers::pi * tone.hertz * static_cast<double>(i) / tone.sampleRate;
    std::fill_n(frame.begin(), tone.soundingChannels, tone.amplitude * std::sin(phase));
    sf_writef_double(file, frame.data(), 1);
  }
  sf_close(file);
  return path;
}

std::vector<float> RecordingSink::AsFloats() const {
  std::vector<float> floats(samples.size());
  std::ranges::transform(samples, floats.begin(),
                         [](std::int16_t sample) { return static_cast<float>(sample) / 32768.0F; });
  return floats;
}

}  // namespace engine_test
