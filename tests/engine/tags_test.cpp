// Every tag, as heard: saved from a file, and spoken through the shell's double quotes in which the
// server puts a text.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "engine_process.h"
#include "sound.h"

using engine_test::EngineTest;
using engine_test::Level;
using engine_test::ReadSound;
using engine_test::Result;
using engine_test::Sound;
using engine_test::ToneShare;
using testing::HasSubstr;

namespace {

// The parameter is the way of the text to the sound.
enum class Way { TextFile, ShellQuotes };

class TagsTest : public EngineTest, public testing::WithParamInterface<Way> {
 protected:
  TagsTest() {
    std::filesystem::create_symlink(engine_test::EnginePath(), dir_.Sub("ka-espeak-ng"));
  }

  Sound Hear(const std::string& text) {
    const bool isSaved = GetParam() == Way::TextFile;
    last_ = isSaved
                ? RunEngine({"--voice", "de", "--", dir_.Write("text", text), "saved.wav"})
                : RunShell("cd " + dir_.Path() + "; ./ka-espeak-ng --voice de -- \"" + text + "\"");
    EXPECT_EQ(last_.status, 0) << last_.err;
    return ReadSound(isSaved ? dir_.Sub("saved.wav") : HeardFile());
  }

  // The real player rounds up to a whole period, so trailing silence does not count.
  static double SecondsUntilSilence(const Sound& sound) {
    std::size_t end = sound.samples.size();
    while (end > 0 && std::abs(sound.samples[end - 1]) < 0.001F)
      --end;
    return static_cast<double>(end) / sound.sampleRate;
  }

  double SecondsOf(const std::string& text) { return SecondsUntilSilence(Hear(text)); }
  double LevelOf(const std::string& text) {
    const Sound sound = Hear(text);
    return Level(sound.Part(0, SecondsUntilSilence(sound)));
  }

  std::string Gong(const engine_test::Tone& tone) {
    return engine_test::WriteTone(dir_.Sub("gong.wav"), tone);
  }

  Result last_;
};

INSTANTIATE_TEST_SUITE_P(Ways, TagsTest, testing::Values(Way::TextFile, Way::ShellQuotes),
                         [](const auto& way) {
                           return way.param == Way::TextFile ? "TextFile" : "ShellQuotes";
                         });

TEST_P(TagsTest, GongIsHeardBeforeTheSpeech) {
  const std::string gong = Gong(
      {.hertz = 1000, .seconds = 0.8, .sampleRate = 44100, .channels = 2, .soundingChannels = 2});
  const Sound sound = Hear(" \\audio(play=" + gong + ") Achtung");
  EXPECT_GT(ToneShare(sound.Part(0, 0.8), 1000), 0.98);
  EXPECT_NEAR(Level(sound.Part(0.1, 0.7)), 0.3536, 0.01);
  const auto speech = sound.Part(0.85, sound.Seconds());
  EXPECT_LT(ToneShare(speech, 1000), 0.2);
  EXPECT_GT(Level(speech), 0.01);
}

TEST_P(TagsTest, AudioIsHeardWhereItStandsInTheText) {
  const std::string gong = Gong({.hertz = 3000, .seconds = 0.5});
  const double before = SecondsOf("Gleis zwölf");
  const Sound sound = Hear("Gleis zwölf \\audio(play=" + gong + ") Achtung");
  double at = 0;
  while (at < sound.Seconds() && ToneShare(sound.Part(at, at + 0.1), 3000) < 0.9)
    at += 0.02;
  EXPECT_NEAR(at, before, 0.2);
  EXPECT_GT(Level(sound.Part(at + 0.6, sound.Seconds())), 0.01);
}

TEST_P(TagsTest, VoiceTagChoosesLanguageAndVariant) {
  const double german = SecondsOf("777 999");
  const double english = SecondsOf("\\voice(en-gb)777 999");
  EXPECT_GT(std::abs(german - english), 0.05);
  EXPECT_GT(LevelOf("\\voice(en-gb+f3)platform twenty one"), 0.02);
}

TEST_P(TagsTest, PauseTagIsSilenceOfItsLength) {
  const double without = SecondsOf("eins \\pause(0) zwei");
  EXPECT_NEAR(SecondsOf("eins \\pause(1500) zwei"), without + 1.5, 0.05);
}

TEST_P(TagsTest, RateTagChangesTheLength) {
  const double normal = SecondsOf("Der Zug nach Hamburg");
  EXPECT_GT(SecondsOf("\\rate(90)Der Zug nach Hamburg"), normal * 1.5);
  EXPECT_LT(SecondsOf("\\rate(300)Der Zug nach Hamburg"), normal * 0.8);
}

TEST_P(TagsTest, PitchTagChangesTheHeight) {
  const auto signChanges = [](const Sound& sound) {
    int changes = 0;
    for (std::size_t i = 1; i < sound.samples.size(); ++i) {
      changes += (sound.samples[i] < 0) != (sound.samples[i - 1] < 0) ? 1 : 0;
    }
    return changes / SecondsUntilSilence(sound);
  };
  EXPECT_GT(signChanges(Hear("\\pitch(99)aaaa oooo")),
            signChanges(Hear("\\pitch(0)aaaa oooo")) * 1.05);
}

TEST_P(TagsTest, VolumeTagChangesTheLevel) {
  const double normal = LevelOf("Der Zug nach Hamburg");
  EXPECT_NEAR(LevelOf("\\volume(50)Der Zug nach Hamburg"), normal / 2, normal * 0.1);
  EXPECT_GT(LevelOf("\\volume(200)Der Zug nach Hamburg"), normal * 1.3);
}

TEST_P(TagsTest, UnknownTagIsReportedAndSkipped) {
  const double without = SecondsOf("Der Zug nach Hamburg");
  EXPECT_NEAR(SecondsOf("Der \\font(bold)Zug nach Hamburg"), without, 0.05);
  EXPECT_EQ(last_.err, "ka-espeak-ng: warning: '\\font(bold)' skipped: unknown tag\n");
}

TEST_P(TagsTest, OtherBackslashesAreDroppedAlone) {
  const double without = SecondsOf("Der Zug nach Hamburg");
  EXPECT_NEAR(SecondsOf("Der \\Zug \\nach Ham\\burg"), without, 0.05);
  EXPECT_EQ(last_.err, "");
}

TEST_P(TagsTest, NoTagNameBeginsWithE) {
  EXPECT_GT(SecondsOf("\\event(3)"), SecondsOf("event") + 0.1);
  EXPECT_EQ(last_.err, "");
}

TEST_P(TagsTest, MissingAudioFileIsOnlyAWarning) {
  EXPECT_GT(LevelOf("\\audio(play=/missing.wav) Gleis 5"), 0.02);
  EXPECT_THAT(last_.err, HasSubstr("warning: cannot read '/missing.wav'"));
}

// The shell itself takes one of two backslashes; the engine takes the other, or reads a tag.
TEST_P(TagsTest, TwoBackslashesBeginATagToo) {
  const double without = SecondsOf("eins \\\\pause(0) zwei");
  EXPECT_NEAR(SecondsOf("eins \\\\pause(1000) zwei"), without + 1, 0.05);
}

}  // namespace
