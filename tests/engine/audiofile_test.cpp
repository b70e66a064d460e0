#include "AudioFile.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sndfile.h>

#include <cmath>
#include <limits>
#include <string>
#include <vector>

#include "RegularFile.h"
#include "sound.h"
#include "support/temp_dir.h"

using engine::AudioFile;
using engine::FileError;
using engine_test::Level;
using engine_test::RecordingSink;
using engine_test::Tone;
using engine_test::ToneShare;
using engine_test::WriteTone;

namespace {

class AudioFileTest : public testing::Test {
 protected:
  // Plays a tone written with these settings.
  void PlayTone(const Tone& tone) { AudioFile(WriteTone(dir_.Sub("tone"), tone)).PlayInto(sink_); }

  double Seconds() const { return static_cast<double>(sink_.samples.size()) / engine::kSampleRate; }

  void ExpectTone(const Tone& tone, double tolerance) const {
    EXPECT_NEAR(Seconds(), tone.seconds, 0.002);
    EXPECT_GT(ToneShare(sink_.AsFloats(), tone.hertz), 1 - tolerance);
    EXPECT_NEAR(Level(sink_.AsFloats()), tone.amplitude / std::sqrt(2), tolerance);
  }

  support::TempDir dir_;
  RecordingSink sink_;
};

TEST_F(AudioFileTest, FileOfTheOutputFormatIsTakenSampleBySample) {
  PlayTone({});
  const std::vector<float> expected = engine_test::ReadSound(dir_.Sub("tone")).samples;
  EXPECT_EQ(sink_.AsFloats(), expected);
}

TEST_F(AudioFileTest, OtherRatesAreResampled) {
  for (const int rate : {8000, 16000, 44100, 48000, 192000}) {
    sink_.samples.clear();
    const Tone tone{.hertz = 1000, .seconds = 0.7, .sampleRate = rate};
    PlayTone(tone);
    SCOPED_TRACE(rate);
    ExpectTone(tone, 0.01);
  }
}

TEST_F(AudioFileTest, ToneAboveTheOutputRateDisappearsInsteadOfFoldingBack) {
  PlayTone({.hertz = 15000, .sampleRate = 44100});
  EXPECT_NEAR(Seconds(), 0.5, 0.002);
  EXPECT_LT(Level(sink_.AsFloats()), 0.01);
}

TEST_F(AudioFileTest, StereoIsMixedDownToTheMean) {
  PlayTone({.amplitude = 0.8, .channels = 2, .soundingChannels = 2});
  ExpectTone({.amplitude = 0.8}, 0.001);
  sink_.samples.clear();
  PlayTone({.amplitude = 0.8, .channels = 2, .soundingChannels = 1});
  ExpectTone({.amplitude = 0.4}, 0.001);
}

TEST_F(AudioFileTest, ManyChannelsAreMixedDown) {
  PlayTone({.amplitude = 0.9, .sampleRate = 44100, .channels = 6, .soundingChannels = 3});
  ExpectTone({.amplitude = 0.45}, 0.01);
}

TEST_F(AudioFileTest, EveryFormatOfTheLibraryIsRead) {
  struct Case {
    const char* name;
    int format;
    int rate;
    double tolerance;
  };
  for (const Case& c : {Case{"8 bit", SF_FORMAT_WAV | SF_FORMAT_PCM_U8, 22050, 0.02},
                        Case{"24 bit", SF_FORMAT_WAV | SF_FORMAT_PCM_24, 22050, 0.01},
                        Case{"float", SF_FORMAT_WAV | SF_FORMAT_FLOAT, 22050, 0.01},
                        Case{"a-law", SF_FORMAT_WAV | SF_FORMAT_ALAW, 8000, 0.02},
                        Case{"aiff", SF_FORMAT_AIFF | SF_FORMAT_PCM_16, 44100, 0.01},
                        Case{"au", SF_FORMAT_AU | SF_FORMAT_PCM_16, 16000, 0.01},
                        Case{"flac", SF_FORMAT_FLAC | SF_FORMAT_PCM_16, 44100, 0.01},
                        Case{"ogg", SF_FORMAT_OGG | SF_FORMAT_VORBIS, 44100, 0.05}}) {
    SCOPED_TRACE(c.name);
    sink_.samples.clear();
    const Tone tone{.sampleRate = c.rate, .format = c.format};
    PlayTone(tone);
    ExpectTone(tone, c.tolerance);
  }
}

TEST_F(AudioFileTest, Mp3IsRead) {
  PlayTone(
      {.seconds = 1, .sampleRate = 44100, .format = SF_FORMAT_MPEG | SF_FORMAT_MPEG_LAYER_III});
  EXPECT_NEAR(Seconds(), 1, 0.1);
  EXPECT_GT(ToneShare(sink_.AsFloats(), 1000), 0.9);
}

TEST_F(AudioFileTest, TooLoudSamplesAreLimitedNotWrapped) {
  PlayTone({.amplitude = 4, .format = SF_FORMAT_WAV | SF_FORMAT_FLOAT});
  EXPECT_THAT(sink_.samples, testing::Contains(32767));
  EXPECT_THAT(sink_.samples, testing::Contains(-32768));
  EXPECT_GT(ToneShare(sink_.AsFloats(), 1000), 0.8);
}

TEST_F(AudioFileTest, ValuesThatAreNoNumberAreSilence) {
  SF_INFO info{};
  info.samplerate = engine::kSampleRate;
  info.channels = 1;
  info.format = SF_FORMAT_WAV | SF_FORMAT_FLOAT;
  const std::string path = dir_.Sub("nan.wav");
  SNDFILE* file = sf_open(path.c_str(), SFM_WRITE, &info);
  ASSERT_NE(file, nullptr);
  using Limits = std::numeric_limits<float>;
  const std::vector<float> values{0.5F, Limits::infinity(), -Limits::infinity(),
                                  Limits::quiet_NaN(), 0.25F};
  sf_write_float(file, values.data(), static_cast<sf_count_t>(values.size()));
  sf_close(file);
  AudioFile(path).PlayInto(sink_);
  EXPECT_THAT(sink_.samples, testing::ElementsAre(16384, 0, 0, 0, 8192));
}

TEST_F(AudioFileTest, FileWithoutSoundGivesNone) {
  PlayTone({.seconds = 0, .sampleRate = 44100});
  EXPECT_TRUE(sink_.samples.empty());
}

TEST_F(AudioFileTest, WhatIsNoAudioFileIsRefused) {
  const std::string text = dir_.Write("text.wav", "this is no sound");
  const std::string empty = dir_.Write("empty.wav", "");
  for (const std::string& path : {text, empty, dir_.Sub("missing.wav"), dir_.Path()}) {
    EXPECT_THROW(AudioFile{path}, FileError) << path;
  }
}

TEST_F(AudioFileTest, HeaderThatPromisesMoreThanThereIsDoesNotHang) {
  const std::string path = WriteTone(dir_.Sub("long.wav"), {.seconds = 1});
  std::filesystem::resize_file(path, 22050);
  try {
    AudioFile(path).PlayInto(sink_);
  } catch (const FileError&) {
    // a complaint is as good as silence about the missing rest
  }
  EXPECT_LE(sink_.samples.size(), 11025U);
  EXPECT_GT(sink_.samples.size(), 10000U);
}

TEST_F(AudioFileTest, RateThatCannotBeResampledIsRefused) {
  const std::string path = WriteTone(dir_.Sub("slow.wav"), {.seconds = 2, .sampleRate = 50});
  EXPECT_THROW(AudioFile(path).PlayInto(sink_), FileError);
}

}  // namespace
