// Speech on its way to one loudness, as the next sink gets it.

#include "Leveller.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <optional>
#include <random>
#include <vector>

#include "sound.h"
#include "support/loudness.h"

using engine::kSampleRate;
using engine::Leveller;
using engine::Samples;
using engine_test::Level;
using engine_test::RecordingSink;

namespace {

constexpr double kTolerance = 0.1;  // LU
constexpr std::size_t kHeld = std::size_t{Leveller::kHeldSeconds} * kSampleRate;

constexpr std::size_t kHeldLive = std::size_t{Leveller::kHeldSecondsLive} * kSampleRate;

// Something like speech: noise of one loudness.
std::vector<std::int16_t> Noise(std::size_t count, double deviation = 2000) {
  std::mt19937 random(1);  // NOLINT(cert-msc32-c,cert-msc51-cpp): the same every time
  std::uniform_real_distribution<double> uniform(-deviation, deviation);
  std::vector<std::int16_t> samples(count);
  std::ranges::generate(samples,
                        [&] { return static_cast<std::int16_t>(std::lround(uniform(random))); });
  return samples;
}

double LoudnessOf(const RecordingSink& sink) {
  return support::LoudnessOf(sink.AsFloats(), kSampleRate);
}

void WriteInPieces(Samples samples, Leveller& leveller) {
  while (!samples.empty()) {
    const std::size_t count = std::min<std::size_t>(samples.size(), kSampleRate * 6 / 100);
    leveller.Write(samples.first(count));
    samples = samples.subspan(count);
  }
}

class PreparedSink final : public engine::SampleSink {
 public:
  void Prepare() override { bPrepared = true; }
  void Write(Samples samples) override { taken += samples.size(); }

  bool bPrepared = false;
  std::size_t taken = 0;
};

TEST(Leveller, SpeechOfAnyLengthAndLoudnessComesOutAsWanted) {
  for (const double seconds : {0.1, 1.0, 7.0, 30.0}) {
    for (const double deviation : {100.0, 2000.0, 12000.0}) {
      SCOPED_TRACE(testing::Message() << seconds << " s of " << deviation);
      const auto count = static_cast<std::size_t>(seconds * kSampleRate);
      RecordingSink sink;
      Leveller leveller(sink, {.lufs = -23, .someoneListens = false});
      WriteInPieces(Noise(count, deviation), leveller);
      leveller.Finish();
      EXPECT_EQ(sink.samples.size(), count);
      EXPECT_NEAR(LoudnessOf(sink), -23, kTolerance);
    }
  }
}

TEST(Leveller, OffPassesEverythingAsItIs) {
  RecordingSink sink;
  Leveller leveller(sink, {});
  const std::vector<std::int16_t> samples = Noise(1000);
  leveller.Write(samples);
  EXPECT_EQ(sink.samples, samples);
  leveller.Finish();
  EXPECT_EQ(sink.samples, samples);
}

TEST(Leveller, LongSpeechGoesOnAfterTheHeldSeconds) {
  RecordingSink sink;
  Leveller leveller(sink, {.lufs = -23, .someoneListens = false});
  const std::vector<std::int16_t> samples = Noise(kHeld);
  leveller.Write(Samples(samples).first(kHeld - 1));
  EXPECT_EQ(sink.samples.size(), 0U);
  leveller.Write(Samples(samples).last(1));
  EXPECT_EQ(sink.samples.size(), kHeld);
  leveller.Write(samples);
  EXPECT_EQ(sink.samples.size(), 2 * kHeld);
}

TEST(Leveller, LessIsHeldBackWhileSomeoneListens) {
  RecordingSink sink;
  Leveller leveller(sink, {.lufs = -23, .someoneListens = true});
  WriteInPieces(Noise(kHeldLive - 1), leveller);
  EXPECT_EQ(sink.samples.size(), 0U);
  leveller.Write(Noise(1));
  EXPECT_EQ(sink.samples.size(), kHeldLive);
}

TEST(Leveller, ShortSpeechIsOnTargetWhileSomeoneListens) {
  RecordingSink sink;
  Leveller leveller(sink, {.lufs = -23, .someoneListens = true});
  WriteInPieces(Noise(kHeldLive - 1, 9000), leveller);
  leveller.Finish();
  EXPECT_NEAR(LoudnessOf(sink), -23, kTolerance);
}

// The beginning tells only so much of the rest.
TEST(Leveller, LongSpeechIsLevelledCarefullyWhileSomeoneListens) {
  RecordingSink own;
  own.Write(Noise(kHeld, 9000));
  RecordingSink sink;
  Leveller leveller(sink, {.lufs = -23, .someoneListens = true});
  WriteInPieces(Noise(kHeld, 9000), leveller);
  leveller.Finish();
  EXPECT_LT(LoudnessOf(sink), LoudnessOf(own) - 2);
  EXPECT_GT(LoudnessOf(sink), -22);
}

TEST(Leveller, OneGainHoldsForAllOfLongSpeech) {
  RecordingSink sink;
  Leveller leveller(sink, {.lufs = -23, .someoneListens = false});
  WriteInPieces(Noise(kHeld), leveller);
  WriteInPieces(Noise(kSampleRate, 500), leveller);
  leveller.Finish();
  const std::vector<float> floats = sink.AsFloats();
  const auto head = std::span(floats).first(kHeld);
  const auto tail = std::span(floats).subspan(kHeld);
  EXPECT_NEAR(20 * std::log10(Level(head) / Level(tail)), 20 * std::log10(2000.0 / 500), 0.2);
}

TEST(Leveller, WhatComesAfterFinishIsMeasuredAnew) {
  RecordingSink first;
  RecordingSink second;
  for (RecordingSink* sink : {&first, &second}) {
    Leveller leveller(*sink, {.lufs = -23, .someoneListens = false});
    if (sink == &second) {
      WriteInPieces(Noise(kSampleRate, 9000), leveller);
      leveller.Finish();
      sink->samples.clear();
    }
    WriteInPieces(Noise(kSampleRate, 300), leveller);
    leveller.Finish();
  }
  EXPECT_EQ(first.samples, second.samples);
}

TEST(Leveller, SilenceBeforeAllSpeechPassesAtOnce) {
  RecordingSink sink;
  Leveller leveller(sink, {.lufs = -23, .someoneListens = false});
  WriteInPieces(std::vector<std::int16_t>(kHeld * 2), leveller);
  EXPECT_EQ(sink.samples.size(), kHeld * 2);
  WriteInPieces(Noise(kSampleRate), leveller);
  leveller.Finish();
  sink.samples.erase(sink.samples.begin(), sink.samples.begin() + std::ptrdiff_t{kHeld} * 2);
  EXPECT_NEAR(LoudnessOf(sink), -23, kTolerance);
}

TEST(Leveller, SilenceAloneStaysSilence) {
  RecordingSink sink;
  Leveller leveller(sink, {.lufs = -23, .someoneListens = false});
  std::vector<std::int16_t> samples(kSampleRate);
  samples[0] = 1;
  leveller.Write(samples);
  leveller.Finish();
  EXPECT_EQ(sink.samples, samples);
}

TEST(Leveller, VolumeIsOnTopOfTheLoudness) {
  RecordingSink sink;
  Leveller leveller(sink, {.lufs = -23, .someoneListens = false});
  leveller.SetVolume(0.5);
  WriteInPieces(Noise(kSampleRate), leveller);
  leveller.Finish();
  EXPECT_NEAR(LoudnessOf(sink), -23 - 6.02, kTolerance);
}

TEST(Leveller, AnotherVolumeBeginsNewSpeechAndTheSameOneDoesNot) {
  RecordingSink sink;
  Leveller leveller(sink, {.lufs = -23, .someoneListens = false});
  leveller.Write(Noise(100));
  leveller.SetVolume(1);
  EXPECT_EQ(sink.samples.size(), 0U);
  leveller.SetVolume(0.5);
  EXPECT_EQ(sink.samples.size(), 100U);
}

TEST(Leveller, NoSampleOfMeasuredSpeechIsBent) {
  // Quiet noise with one high sample: as loud as wanted it would be far beyond full scale.
  std::vector<std::int16_t> samples = Noise(std::size_t{4} * kSampleRate, 300);
  samples[kSampleRate] = 20000;
  RecordingSink sink;
  Leveller leveller(sink, {.lufs = -12, .someoneListens = false});
  leveller.Write(samples);
  leveller.Finish();
  const double gain = sink.samples[kSampleRate] / 20000.0;
  EXPECT_NEAR(sink.samples[kSampleRate], 0.794 * 32768, 2);
  for (std::size_t i = 0; i < samples.size(); ++i)
    ASSERT_NEAR(sink.samples[i], samples[i] * gain, 0.51) << i;
}

TEST(Leveller, HigherSamplesThatComeLaterAreKeptBelowTheLimit) {
  RecordingSink sink;
  Leveller leveller(sink, {.lufs = -12, .someoneListens = false});
  WriteInPieces(Noise(kHeld, 3000), leveller);
  sink.samples.clear();
  std::vector<std::int16_t> later(32767 / 16);
  for (std::size_t i = 0; i < later.size(); ++i)
    later[i] = static_cast<std::int16_t>(i * 16);
  leveller.Write(later);
  EXPECT_TRUE(std::ranges::is_sorted(sink.samples));
  EXPECT_LE(sink.samples.back(), std::pow(10, -1.5 / 20) * 32768);
  EXPECT_GT(sink.samples.back(), std::pow(10, -2.0 / 20) * 32768);
  std::ranges::transform(later, later.begin(),
                         [](std::int16_t sample) { return static_cast<std::int16_t>(-sample); });
  const std::int16_t highest = sink.samples.back();
  leveller.Write(later);
  EXPECT_EQ(sink.samples.back(), -highest);
}

TEST(Leveller, TargetCanPrepareWhileSpeechIsHeldBack) {
  PreparedSink sink;
  Leveller leveller(sink, {.lufs = -23, .someoneListens = false});
  leveller.Write(std::vector<std::int16_t>(100));
  EXPECT_FALSE(sink.bPrepared);
  leveller.Write(Noise(100));
  EXPECT_TRUE(sink.bPrepared);
  EXPECT_EQ(sink.taken, 100U);
}

}  // namespace
