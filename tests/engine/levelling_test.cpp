// How loud the program speaks: measured by the reference library on what it saved or what the real
// aplay played.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <string>
#include <vector>

#include "engine_process.h"
#include "sound.h"
#include "support/loudness.h"

using engine_test::EngineTest;
using engine_test::ReadSound;
using engine_test::Sound;

namespace {

constexpr double kTarget = -23;
constexpr double kTolerance = 1;         // LU, for speech of any length
constexpr double kShortTolerance = 0.3;  // LU, for speech that was measured whole

constexpr const char* kOrdinary =
    "Information zu Intercity 2038 nach Norddeich Mole, Abfahrt 9 Uhr 21, heute zirka 15 Minuten "
    "später von Gleis 10 statt Gleis 12.";

class LevellingTest : public EngineTest {
 protected:
  Sound Save(const std::string& text, const engine_test::Arguments& options = {}) {
    engine_test::Arguments arguments{"--voice", "de"};
    arguments.insert(arguments.end(), options.begin(), options.end());
    arguments.insert(arguments.end(), {"--", dir_.Write("text", text), "saved.wav"});
    EXPECT_EQ(RunEngine(arguments).status, 0) << text;
    return ReadSound(dir_.Sub("saved.wav"));
  }

  static double LoudnessOf(const Sound& sound) {
    return support::LoudnessOf(sound.samples, sound.sampleRate);
  }

  double SavedLoudness(const std::string& text, const engine_test::Arguments& options = {}) {
    return LoudnessOf(Save(text, options));
  }

  std::string WriteTone(double seconds) {
    return engine_test::WriteTone(dir_.Sub("tone.wav"), {.seconds = seconds});
  }
};

TEST_F(LevellingTest, WordsAndSentencesAreOnTarget) {
  for (const char* text : {"Ja", "Achtung", "Gleis 5", "Itzehoe", "Wir bitten um Entschuldigung.",
                           "Die Wagen verkehren heute in umgekehrter Reihenfolge."}) {
    EXPECT_NEAR(SavedLoudness(text), kTarget, kShortTolerance) << text;
  }
}

TEST_F(LevellingTest, LongTextsAreOnTarget) {
  std::string text;
  for (int i = 0; i < 10; ++i) {
    text += kOrdinary;
    EXPECT_NEAR(SavedLoudness(text), kTarget, kTolerance) << i;
  }
}

TEST_F(LevellingTest, EveryVoiceRateAndPitchIsOnTarget) {
  for (const char* tag : {"\\voice(en-gb)", "\\voice(fr)", "\\voice(nl)", "\\voice(pl)",
                          "\\voice(de+f3)", "\\voice(en-gb+whisper)", "\\rate(80)", "\\rate(300)",
                          "\\rate(450)", "\\pitch(0)", "\\pitch(99)"}) {
    EXPECT_NEAR(SavedLoudness(std::string(tag) + "1 2 3 4 5 6 7 8 9 10 11 12 13 14 15 16 17 18"),
                kTarget, kTolerance)
        << tag;
  }
}

TEST_F(LevellingTest, WhatIsHeardIsOnTarget) {
  for (const char* text : {"Achtung", kOrdinary}) {
    ASSERT_EQ(RunEngine({"--voice", "de", "--", text}).status, 0);
    EXPECT_NEAR(LoudnessOf(ReadSound(HeardFile())), kTarget, kTolerance) << text;
  }
}

TEST_F(LevellingTest, AnotherLevelMayBeWanted) {
  EXPECT_NEAR(SavedLoudness("Gleis 5", {"--level", "-30"}), -30, kShortTolerance);
  EXPECT_NEAR(SavedLoudness("Gleis 5", {"--level=-18.5"}), -18.5, kShortTolerance);
}

TEST_F(LevellingTest, OffIsTheSynthesisersOwnSound) {
  const Sound own = Save(kOrdinary, {"--level", "off"});
  ASSERT_EQ(RunShell("cd " + dir_.Path() + "; espeak-ng -v de -f text -w theirs.wav").status, 0);
  // The program espeak-ng adds a pause.
  const Sound theirs = ReadSound(dir_.Sub("theirs.wav"));
  ASSERT_GE(theirs.samples.size(), own.samples.size());
  EXPECT_TRUE(std::equal(own.samples.begin(), own.samples.end(), theirs.samples.begin()));
  EXPECT_EQ(engine_test::Level(theirs.Part(own.Seconds(), theirs.Seconds())), 0);
}

TEST_F(LevellingTest, NothingIsClippedHoweverLoudItIsWanted) {
  for (const char* text : {"Achtung", kOrdinary, "\\volume(200)Der Zug nach Hamburg fällt aus."}) {
    const Sound sound = Save(std::string(text) + " " + kOrdinary, {"--level", "-10"});
    EXPECT_LE(support::TruePeakOf(sound.samples, sound.sampleRate), -1) << text;
    EXPECT_GT(LoudnessOf(sound), -22) << text;  // what its peaks allow
  }
}

TEST_F(LevellingTest, OrdinaryLevelStaysFarBelowFullScale) {
  const Sound sound = Save(std::string(kOrdinary) + " \\volume(200) " + kOrdinary);
  EXPECT_LE(support::TruePeakOf(sound.samples, sound.sampleRate), -1);
}

TEST_F(LevellingTest, AudioFilesKeepTheirOwnLevel) {
  const std::string tone = WriteTone(1);
  const Sound original = ReadSound(tone);
  const Sound sound = Save("\\audio(play=" + tone + ") Achtung");
  ASSERT_GT(sound.samples.size(), original.samples.size());
  EXPECT_TRUE(std::equal(original.samples.begin(), original.samples.end(), sound.samples.begin()));
}

TEST_F(LevellingTest, SpeechBeforeAndBehindAnAudioFileIsOnTargetEach) {
  const std::string tone = WriteTone(0.5);
  const double before = Save("Achtung").Seconds();
  const Sound sound = Save("Achtung \\audio(play=" + tone + ") " + kOrdinary);
  const auto word = sound.Part(0, before);
  const auto rest = sound.Part(before + 0.6, sound.Seconds());
  EXPECT_NEAR(support::LoudnessOf(word, sound.sampleRate), kTarget, kTolerance);
  EXPECT_NEAR(support::LoudnessOf(rest, sound.sampleRate), kTarget, kTolerance);
}

TEST_F(LevellingTest, VoicesOfOneTextAreEquallyLoud) {
  const double german = Save(kOrdinary).Seconds();
  const Sound sound = Save(std::string(kOrdinary) +
                           " \\voice(en-gb+f3) Attention please. The "
                           "train to Hamburg is running late today.");
  EXPECT_NEAR(support::LoudnessOf(sound.Part(0, german), sound.sampleRate), kTarget, kTolerance);
  EXPECT_NEAR(support::LoudnessOf(sound.Part(german, sound.Seconds()), sound.sampleRate), kTarget,
              kTolerance);
}

// A voice does not change its loudness from one half of a sentence to the other.
TEST_F(LevellingTest, PausesAndRatesLeaveSpeechInOnePiece) {
  const std::string text = std::string("Achtung \\pause(300) \\rate(140) ") + kOrdinary;
  const Sound own = Save(text, {"--level", "off"});
  const Sound levelled = Save(text);
  ASSERT_EQ(own.samples.size(), levelled.samples.size());
  const auto gain = [&](double begin, double end) {
    return engine_test::Level(levelled.Part(begin, end)) / engine_test::Level(own.Part(begin, end));
  };
  EXPECT_NEAR(gain(0, 0.5), gain(2, own.Seconds()), 0.01);
}

TEST_F(LevellingTest, PauseBeforeTheSpeechTakesNoPartInIt) {
  EXPECT_NEAR(SavedLoudness("\\pause(20000) " + std::string(kOrdinary)), kTarget, kTolerance);
}

TEST_F(LevellingTest, LevelThatMakesNoSenseIsWrongUsage) {
  EXPECT_EQ(RunEngine({"--level", "loud", "--", "Achtung"}).status, 2);
}

}  // namespace
