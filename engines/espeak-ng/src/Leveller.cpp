#include "Leveller.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

#include "Loudness.h"

namespace engine {
namespace {

// Of sentences in the languages that this was tried with, in LUFS.
constexpr double kTypicalLoudness = -19.9;

// How much the first seconds tell of all that follows, from 0 (nothing) to 1.
constexpr double kWeightOfBeginning = 0.4;

constexpr float kFullScale = 32768;

// Sound goes on in short pieces, so that the target can end the work between them.
constexpr std::size_t kSliceSamples = 4096;

// What was measured is amplified up to -2 dB of full scale at most, which leaves room for the wave
// between the samples: it stays below -1 dB.
constexpr float kHighestPeak = 0.794F * kFullScale;

// What comes later may be higher: it is bent to stay below -1.5 dB.
constexpr float kCeiling = 0.841F * kFullScale;

float PeakOf(Samples samples) {
  std::int16_t lowest = 0;
  std::int16_t highest = 0;
  for (const std::int16_t sample : samples) {
    lowest = std::min(lowest, sample);
    highest = std::max(highest, sample);
  }
  return static_cast<float>(std::max(-int{lowest}, int{highest}));
}

// Nearly straight at kHighestPeak, and never more than kCeiling.
float Bent(float value) {
  constexpr float kRoom = kCeiling - kHighestPeak;
  const float excess = std::max(std::abs(value) - kHighestPeak, 0.0F);
  const float limited = kHighestPeak + kRoom * (1 - std::exp(-excess / kRoom));
  return std::copysign(std::min(std::abs(value), limited), value);
}

std::int16_t Rounded(float value) {
  return static_cast<std::int16_t>(value + (value < 0 ? -0.5F : 0.5F));
}

bool IsSilent(Samples samples) {
  return std::ranges::all_of(samples, [](std::int16_t sample) { return sample == 0; });
}

}  // namespace

void Leveller::SetVolume(double factor) {
  if (factor == volume_) return;
  Finish();
  volume_ = factor;
}

void Leveller::Write(Samples samples) {
  if (!IsOn() || (!gain_ && held_.empty() && IsSilent(samples))) {
    target_.Write(samples);
  } else if (gain_) {
    WriteLouder(samples);
  } else {
    Hold(samples);
  }
}

void Leveller::Finish() {
  if (!held_.empty()) Release(true);
  gain_.reset();
}

void Leveller::Hold(Samples samples) {
  target_.Prepare();
  held_.reserve(MostHeld() + samples.size());
  held_.insert(held_.end(), samples.begin(), samples.end());
  if (held_.size() >= MostHeld()) Release(false);
}

std::size_t Leveller::MostHeld() const {
  const int seconds = levelling_.someoneListens ? kHeldSecondsLive : kHeldSeconds;
  return static_cast<std::size_t>(seconds) * kSampleRate;
}

void Leveller::Release(bool isAll) {
  const std::optional<double> loudness = LoudnessOf(held_);
  gain_ = !loudness ? 1 : GainFor(isAll ? *loudness : LoudnessOfLongSpeech(*loudness));
  for (Samples rest = held_; !rest.empty();) {
    const Samples slice = rest.first(std::min(kSliceSamples, rest.size()));
    WriteLouder(slice);
    rest = rest.subspan(slice.size());
  }
  held_.clear();
}

double Leveller::LoudnessOfLongSpeech(double ofHeld) const {
  if (!levelling_.someoneListens) return ofHeld;
  return std::lerp(kTypicalLoudness, ofHeld, kWeightOfBeginning);
}

float Leveller::GainFor(double loudness) const {
  const auto wanted =
      static_cast<float>(volume_ * std::pow(10, (*levelling_.lufs - loudness) / 20));
  return std::min(wanted, kHighestPeak / PeakOf(held_));
}

void Leveller::WriteLouder(Samples samples) {
  louder_.resize(samples.size());
  const float gain = *gain_;
  if (PeakOf(samples) * gain <= kHighestPeak * 1.0001F) {
    std::ranges::transform(samples, louder_.begin(), [gain](std::int16_t sample) {
      return Rounded(static_cast<float>(sample) * gain);
    });
  } else {
    std::ranges::transform(samples, louder_.begin(), [gain](std::int16_t sample) {
      return Rounded(Bent(static_cast<float>(sample) * gain));
    });
  }
  target_.Write(louder_);
}

}  // namespace engine
