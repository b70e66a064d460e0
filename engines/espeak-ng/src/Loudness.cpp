#include "Loudness.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <numbers>
#include <numeric>
#include <vector>

namespace engine {
namespace {

// 20 ms. Both window and hop of the definitions are whole numbers of them.
constexpr std::size_t kBlockSamples = kSampleRate / 50;
constexpr std::size_t kWindowBlocks = 20;        // 400 ms
constexpr std::size_t kIntegratedHopBlocks = 5;  // windows overlap by three quarters
constexpr std::size_t kShortClipSamples = std::size_t{3} * kSampleRate;

constexpr double kAbsoluteGate = -70;
constexpr double kRelativeGate = -10;

// The filter needs some four times as long for one sample as the processor needs to begin with the
// next: four parts of the sound are filtered at once.
constexpr int kLanes = 4;
using Lanes = float __attribute__((vector_size(kLanes * sizeof(float))));

// A part that is not the first begins earlier by this much, so that the filter has settled.
constexpr std::ptrdiff_t kWarmUpBlocks = 2;

// Added to every sample, far below hearing. On exact zeros, which speech has between words, the
// filter would fade to numbers so small that processors take a hundred times as long for them.
constexpr float kNotQuiteNothing = 1e-6F;

// A filter of second order, on all lanes.
class Biquad {
 public:
  // Denominator 1, a1, a2 and numerator b0, b1, b2.
  struct Coefficients {
    double b0, b1, b2, a1, a2;
  };

  explicit Biquad(const Coefficients& c)
      : b0_(All(c.b0)), b1_(All(c.b1)), b2_(All(c.b2)), a1_(All(c.a1)), a2_(All(c.a2)) {}

  Lanes Filter(Lanes x) {
    const Lanes y = b0_ * x + first_;
    first_ = b1_ * x - a1_ * y + second_;
    second_ = b2_ * x - a2_ * y;
    return y;
  }

 private:
  static Lanes All(double value) { return Lanes{} + static_cast<float>(value); }

  Lanes b0_, b1_, b2_, a1_, a2_;
  Lanes first_{}, second_{};
};

// The two filters of BS.1770, whose numbers are given for 48 kHz there, at this program's rate.
Biquad HeadFilter() {
  const double k = std::tan(std::numbers::pi * 1681.974450955533 / kSampleRate);
  const double q = 0.7071752369554196;
  const double high = std::pow(10, 3.999843853973347 / 20);
  const double band = std::pow(high, 0.4996667741545416);
  const double a0 = 1 + k / q + k * k;
  return Biquad({(high + band * k / q + k * k) / a0, 2 * (k * k - high) / a0,
                 (high - band * k / q + k * k) / a0, 2 * (k * k - 1) / a0,
                 (1 - k / q + k * k) / a0});
}

Biquad LowCut() {
  const double k = std::tan(std::numbers::pi * 38.13547087602444 / kSampleRate);
  const double q = 0.5003270373238773;
  const double a0 = 1 + k / q + k * k;
  return Biquad({1, -2, 1, 2 * (k * k - 1) / a0, (1 - k / q + k * k) / a0});
}

// One block of each lane, made ready for the filter. A lane is every kLanes-th part of the sound.
class LaneReader {
 public:
  LaneReader(Samples samples, std::size_t blocksPerLane)
      : samples_(samples), blocksPerLane_(blocksPerLane) {}

  // The samples of each lane's block number `block`, which is negative before a lane's begin. What
  // lies outside the sound is silence.
  const std::array<Lanes, kBlockSamples>& Read(std::ptrdiff_t block) {
    values_.fill(Lanes{} + kNotQuiteNothing);
    for (std::size_t lane = 0; lane < kLanes; ++lane) {
      const std::ptrdiff_t at = static_cast<std::ptrdiff_t>(lane * blocksPerLane_) + block;
      if (at >= 0) ReadInto(lane, static_cast<std::size_t>(at) * kBlockSamples);
    }
    return values_;
  }

 private:
  void ReadInto(std::size_t lane, std::size_t begin) {
    if (begin >= samples_.size()) return;
    const Samples part =
        samples_.subspan(begin).first(std::min(kBlockSamples, samples_.size() - begin));
    for (std::size_t i = 0; i < part.size(); ++i)
      values_[i][lane] = static_cast<float>(part[i]) + kNotQuiteNothing;
  }

  Samples samples_;
  std::size_t blocksPerLane_;
  std::array<Lanes, kBlockSamples> values_{};
};

// The filtered signal's power, block by block, in the squared unit of a sample. What is missing of
// the last block, and of the shortest window, counts as silence.
std::vector<double> BlockPowers(Samples samples) {
  const std::size_t blocks =
      std::max((samples.size() + kBlockSamples - 1) / kBlockSamples, kWindowBlocks);
  const std::size_t perLane = (blocks + kLanes - 1) / kLanes;
  std::vector<double> powers(kLanes * perLane);
  LaneReader reader(samples, perLane);
  Biquad head = HeadFilter();
  Biquad lowCut = LowCut();
  for (std::ptrdiff_t block = -kWarmUpBlocks; block < std::ssize(powers) / kLanes; ++block) {
    Lanes sum{};
    for (const Lanes x : reader.Read(block)) {
      const Lanes y = lowCut.Filter(head.Filter(x));
      sum += y * y;
    }
    if (block < 0) continue;
    for (std::size_t lane = 0; lane < kLanes; ++lane)
      powers[lane * perLane + static_cast<std::size_t>(block)] = sum[lane] / kBlockSamples;
  }
  powers.resize(blocks);
  return powers;
}

double Lufs(double power) {
  constexpr double kFullScale = 32768;
  return -0.691 + 10 * std::log10(power / (kFullScale * kFullScale));
}

double PowerAt(double lufs) {
  return std::pow(10, (lufs - Lufs(1)) / 10);
}

// The mean power of each window.
std::vector<double> WindowPowers(const std::vector<double>& blocks, std::size_t hop) {
  std::vector<double> windows;
  for (auto begin = blocks.begin(); blocks.end() - begin >= std::ptrdiff_t{kWindowBlocks};) {
    windows.push_back(std::accumulate(begin, begin + kWindowBlocks, 0.0) / kWindowBlocks);
    if (blocks.end() - begin < static_cast<std::ptrdiff_t>(hop + kWindowBlocks)) break;
    begin += static_cast<std::ptrdiff_t>(hop);
  }
  return windows;
}

// The mean of all values from `least` on; 0 if there is none.
double MeanFrom(double least, const std::vector<double>& values) {
  double sum = 0;
  std::size_t count = 0;
  for (const double value : values) {
    if (value < least) continue;
    sum += value;
    ++count;
  }
  return count == 0 ? 0 : sum / static_cast<double>(count);
}

double IntegratedPower(const std::vector<double>& blocks) {
  const std::vector<double> windows = WindowPowers(blocks, kIntegratedHopBlocks);
  const double absolute = PowerAt(kAbsoluteGate);
  const double relative = MeanFrom(absolute, windows) * std::pow(10, kRelativeGate / 10);
  return MeanFrom(std::max(absolute, relative), windows);
}

double LargestPower(const std::vector<double>& blocks) {
  return std::ranges::max(WindowPowers(blocks, 1));
}

}  // namespace

std::optional<double> LoudnessOf(Samples samples) {
  const std::vector<double> blocks = BlockPowers(samples);
  const double power =
      samples.size() < kShortClipSamples ? LargestPower(blocks) : IntegratedPower(blocks);
  if (power < PowerAt(kAbsoluteGate)) return std::nullopt;
  return Lufs(power);
}

}  // namespace engine
