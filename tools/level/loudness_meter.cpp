#include "level/loudness_meter.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <new>
#include <numeric>

namespace tools {

namespace {

constexpr double kAbsoluteGate = -70;
constexpr double kNothing = -std::numeric_limits<double>::infinity();

// The momentary loudness is that of 0.4 s, looked at every hundredth of a second.
constexpr double kWindowSeconds = 0.4;
constexpr double kHopSeconds = 0.01;

std::size_t FramesOf(double seconds, int sampleRate) {
  return static_cast<std::size_t>(std::llround(seconds * sampleRate));
}

double Decibels(double amplitude) {
  return amplitude > 0 ? 20 * std::log10(amplitude) : kNothing;
}

std::vector<double> MixedDown(std::span<const double> samples, std::size_t channels) {
  std::vector<double> mono(samples.size() / channels);
  for (std::size_t i = 0; i < mono.size(); ++i) {
    const auto frame = samples.subspan(i * channels, channels);
    mono[i] = std::accumulate(frame.begin(), frame.end(), 0.0) / static_cast<double>(channels);
  }
  return mono;
}

}  // namespace

LoudnessMeter::State::State(int sampleRate, int channels, int mode)
    : state_(ebur128_init(static_cast<unsigned>(channels), static_cast<unsigned long>(sampleRate),
                          mode)) {
  if (state_ == nullptr) throw std::bad_alloc();
}

LoudnessMeter::State::~State() {
  ebur128_destroy(&state_);
}

LoudnessMeter::LoudnessMeter(int sampleRate, int channels, std::size_t frames)
    : sampleRate_(sampleRate),
      channels_(static_cast<std::size_t>(channels)),
      bMomentary_(static_cast<double>(frames) < kShortClipSeconds * sampleRate),
      untilHop_(FramesOf(kWindowSeconds, sampleRate)),
      largestMomentary_(kNothing),
      loudness_(sampleRate, 1, bMomentary_ ? EBUR128_MODE_M : EBUR128_MODE_I),
      peak_(sampleRate, channels, EBUR128_MODE_TRUE_PEAK) {}

void LoudnessMeter::Add(std::span<const double> samples) {
  NoteSilence(samples);
  ebur128_add_frames_double(peak_.Get(), samples.data(), samples.size() / channels_);
  AddMono(MixedDown(samples, channels_));
  frames_ += samples.size() / channels_;
}

void LoudnessMeter::AddMono(std::span<const double> mono) {
  if (!bMomentary_) {
    ebur128_add_frames_double(loudness_.Get(), mono.data(), mono.size());
    return;
  }
  while (!mono.empty()) {
    const std::size_t count = std::min(untilHop_, mono.size());
    AddHop(mono.first(count));
    mono = mono.subspan(count);
  }
}

void LoudnessMeter::AddHop(std::span<const double> mono) {
  ebur128_add_frames_double(loudness_.Get(), mono.data(), mono.size());
  untilHop_ -= mono.size();
  if (untilHop_ > 0) return;
  untilHop_ = FramesOf(kHopSeconds, sampleRate_);
  double momentary = kNothing;
  ebur128_loudness_momentary(loudness_.Get(), &momentary);
  largestMomentary_ = std::max(largestMomentary_, momentary);
}

void LoudnessMeter::NoteSilence(std::span<const double> samples) {
  static const double kThreshold = std::pow(10, kSilenceDb / 20);
  for (std::size_t i = 0; i < samples.size(); ++i) {
    if (std::abs(samples[i]) < kThreshold) continue;
    const std::size_t frame = frames_ + i / channels_;
    if (heardEnd_ == 0) firstHeard_ = frame;
    heardEnd_ = frame + 1;
  }
}

double LoudnessMeter::TruePeak() const {
  double highest = 0;
  for (std::size_t channel = 0; channel < channels_; ++channel) {
    double peak = 0;
    ebur128_true_peak(peak_.Get(), static_cast<unsigned>(channel), &peak);
    highest = std::max(highest, peak);
  }
  return Decibels(highest);
}

Measurement LoudnessMeter::Result() {
  // A clip that is shorter than the window counts as if silence followed.
  const std::size_t window = FramesOf(kWindowSeconds, sampleRate_);
  if (bMomentary_ && frames_ < window) AddMono(std::vector<double>(window - frames_));
  double loudness = largestMomentary_;
  if (!bMomentary_) ebur128_loudness_global(loudness_.Get(), &loudness);
  const auto seconds = [this](std::size_t frames) {
    return static_cast<double>(frames) / sampleRate_;
  };
  Measurement result;
  if (loudness >= kAbsoluteGate) result.Loudness = loudness;
  result.bMomentary = bMomentary_;
  result.TruePeak = TruePeak();
  result.LeadingSilence = seconds(heardEnd_ == 0 ? frames_ : firstHeard_);
  result.TrailingSilence = seconds(frames_ - heardEnd_);
  return result;
}

}  // namespace tools
