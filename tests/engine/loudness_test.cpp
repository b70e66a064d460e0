// The engine's own measuring against the reference library.

#include "Loudness.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <numbers>
#include <random>
#include <vector>

#include "Synthesiser.h"
#include "sound.h"
#include "support/loudness.h"

using engine::kSampleRate;
using engine::LoudnessOf;
using engine_test::RecordingSink;

namespace {

constexpr double kTolerance = 0.1;  // LU

std::vector<std::int16_t> Tone(double hertz, double seconds, double amplitude) {
  std::vector<std::int16_t> samples(static_cast<std::size_t>(seconds * kSampleRate));
  for (std::size_t i = 0; i < samples.size(); ++i) {
    const double phase = 2 * std::numbers::pi * hertz * static_cast<double>(i) / kSampleRate;
    samples[i] = static_cast<std::int16_t>(std::lround(amplitude * 32767 * std::sin(phase)));
  }
  return samples;
}

// Noise whose loudness changes from second to second, so that both gates have something to do.
std::vector<std::int16_t> Noise(double seconds) {
  std::mt19937 random(1);  // NOLINT(cert-msc32-c,cert-msc51-cpp): the same every time
  std::normal_distribution<double> normal(0, 3000);
  std::vector<std::int16_t> samples(static_cast<std::size_t>(seconds * kSampleRate));
  for (std::size_t i = 0; i < samples.size(); ++i) {
    const double factor = std::pow(10, -static_cast<double>(i / kSampleRate % 5));
    samples[i] = static_cast<std::int16_t>(normal(random) * factor);
  }
  return samples;
}

std::vector<std::int16_t> Speech(const std::string& text) {
  static engine::Synthesiser synthesiser;
  RecordingSink sink;
  synthesiser.Speak({text, {.voice = "de"}}, sink);
  return sink.samples;
}

double Reference(const std::vector<std::int16_t>& samples) {
  std::vector<float> floats(samples.size());
  std::ranges::transform(samples, floats.begin(),
                         [](std::int16_t sample) { return static_cast<float>(sample) / 32768; });
  return support::LoudnessOf(floats, kSampleRate);
}

void ExpectAgreement(const std::vector<std::int16_t>& samples) {
  const auto loudness = LoudnessOf(samples);
  ASSERT_TRUE(loudness.has_value());
  EXPECT_NEAR(*loudness, Reference(samples), kTolerance);
}

TEST(Loudness, TonesOfAllHeightsMeasureAsInTheReference) {
  for (const double hertz : {50.0, 200.0, 997.0, 3000.0, 8000.0}) {
    SCOPED_TRACE(hertz);
    ExpectAgreement(Tone(hertz, 5, 0.5));
    ExpectAgreement(Tone(hertz, 1, 0.5));
  }
}

TEST(Loudness, FullScaleToneOfOneKilohertzIsAboutMinusThree) {
  EXPECT_NEAR(*LoudnessOf(Tone(997, 5, 1)), -3.01, kTolerance);
}

TEST(Loudness, NoiseWithQuietPartsMeasuresAsInTheReference) {
  for (const double seconds : {3.0, 3.33, 5.0, 7.77, 20.0}) {
    SCOPED_TRACE(seconds);
    ExpectAgreement(Noise(seconds));
  }
}

TEST(Loudness, SpeechMeasuresAsInTheReference) {
  for (const char* text : {"Ja", "Achtung", "Bitte Vorsicht bei der Einfahrt.",
                           "Information zu Intercity 2038 nach Norddeich Mole, Abfahrt 9 Uhr 21, "
                           "heute zirka 15 Minuten später von Gleis 10 statt Gleis 12."}) {
    SCOPED_TRACE(text);
    ExpectAgreement(Speech(text));
  }
}

TEST(Loudness, LessThanThreeSecondsCountByTheirLoudestMoment) {
  std::vector<std::int16_t> samples = Tone(997, 0.5, 0.5);
  samples.resize(kSampleRate * 3 - 1);
  EXPECT_NEAR(*LoudnessOf(samples), -9.03, kTolerance);
  samples.resize(std::size_t{3} * kSampleRate);
  EXPECT_NEAR(*LoudnessOf(samples), Reference(samples), kTolerance);
  EXPECT_LT(*LoudnessOf(samples), -9.5);
}

TEST(Loudness, ShortestClipsCountAsIfSilenceFollowed) {
  const double whole = *LoudnessOf(Tone(997, 0.4, 0.5));
  EXPECT_NEAR(*LoudnessOf(Tone(997, 0.2, 0.5)), whole - 3.01, kTolerance);
  ExpectAgreement(Tone(997, 0.05, 0.5));
}

TEST(Loudness, SilenceHasNone) {
  EXPECT_EQ(LoudnessOf({}), std::nullopt);
  EXPECT_EQ(LoudnessOf(std::vector<std::int16_t>(kSampleRate)), std::nullopt);
  EXPECT_EQ(LoudnessOf(std::vector<std::int16_t>(std::size_t{5} * kSampleRate)), std::nullopt);
  EXPECT_EQ(LoudnessOf(Tone(997, 5, 0.0002)), std::nullopt);
}

}  // namespace
