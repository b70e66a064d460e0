#include "Synthesiser.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <vector>

#include "Failure.h"
#include "sound.h"

using engine::Failure;
using engine::SpeechSettings;
using engine::Synthesiser;
using engine_test::Level;
using engine_test::RecordingSink;

namespace {

class SynthesiserTest : public testing::Test {
 protected:
  // One for all tests: the library is started and ended once in a process.
  static void SetUpTestSuite() { synthesiser_ = new Synthesiser; }
  static void TearDownTestSuite() { delete synthesiser_; }

  std::vector<float> Speak(const SpeechSettings& settings, const std::string& text = "Guten Tag") {
    RecordingSink sink;
    synthesiser_->Speak({text, settings}, sink);
    return sink.AsFloats();
  }

  double LevelOf(const SpeechSettings& settings) { return Level(Speak(settings)); }
  std::size_t LengthOf(const SpeechSettings& settings) { return Speak(settings).size(); }

  // How often the signal changes its sign: a rough measure of how high a voice is.
  double Brightness(const SpeechSettings& settings) {
    const std::vector<float> samples = Speak(settings, "aaaaa ooooo uuuuu");
    std::size_t changes = 0;
    for (std::size_t i = 1; i < samples.size(); ++i) {
      changes += (samples[i] < 0) != (samples[i - 1] < 0) ? 1U : 0U;
    }
    return static_cast<double>(changes) / static_cast<double>(samples.size());
  }

  bool HasVoice(const std::string& name) {
    try {
      synthesiser_->RequireVoice(name);
      return true;
    } catch (const Failure&) {
      return false;
    }
  }

  inline static Synthesiser* synthesiser_ = nullptr;
};

class ThrowingSink final : public engine::SampleSink {
 public:
  void Write(engine::Samples /*samples*/) override {
    ++calls;
    throw std::runtime_error("full");
  }

  int calls = 0;
};

TEST_F(SynthesiserTest, SpeaksAudibly) {
  const std::vector<float> samples = Speak({.voice = "de"});
  EXPECT_GT(samples.size(), 22050U / 3);
  EXPECT_LT(samples.size(), 22050U * 3);
  EXPECT_GT(Level(samples), 0.02);
}

TEST_F(SynthesiserTest, LanguagesDiffer) {
  const std::size_t german = Speak({.voice = "de"}, "5 Minuten, Gleis 12").size();
  const std::size_t english = Speak({.voice = "en"}, "5 Minuten, Gleis 12").size();
  EXPECT_NE(german, english);
}

TEST_F(SynthesiserTest, VoicesAreFoundByFileLanguageAndName) {
  for (const char* name :
       {"de", "gmw/de", "en", "en-gb", "en-us", "EN-GB", "German", "german", "English (America)",
        "en-gb-x-rp", "gmw/en-GB-x-rp", "fr-fr", "pt-br", "ko", "zh"}) {
    EXPECT_TRUE(HasVoice(name)) << name;
    RecordingSink sink;
    EXPECT_NO_THROW(synthesiser_->Speak({"1 2 3", {.voice = name}}, sink)) << name;
    EXPECT_GT(Level(sink.AsFloats()), 0.01) << name;
  }
}

TEST_F(SynthesiserTest, NamesThatLeadToTheSameVoiceSoundAlike) {
  const auto minutes = [&](const char* voice) {
    return static_cast<double>(Speak({.voice = voice}, "platform 12").size());
  };
  EXPECT_NEAR(minutes("en-gb"), minutes("en"), 100);
  EXPECT_NEAR(minutes("gmw/de"), minutes("German"), 100);
}

TEST_F(SynthesiserTest, VariantChangesTheVoiceHoweverItsBaseIsFound) {
  EXPECT_GT(Brightness({.voice = "de+f3"}), Brightness({.voice = "de"}) * 1.05);
  EXPECT_GT(Brightness({.voice = "en-gb+f3"}), Brightness({.voice = "en-gb"}) * 1.05);
}

TEST_F(SynthesiserTest, VariantNamesMayHaveCapitalsAndBlanks) {
  EXPECT_TRUE(HasVoice("de+Alex"));
  EXPECT_TRUE(HasVoice("de+Mr serious"));
}

TEST_F(SynthesiserTest, MissingVoicesAndVariantsAreRefused) {
  for (const std::string& name : std::initializer_list<std::string>{"",
                                                                    "nosuch",
                                                                    "de+nosuch",
                                                                    "de+",
                                                                    "+f3",
                                                                    "nosuch+f3",
                                                                    "de+f3+f3",
                                                                    "de+../de",
                                                                    ".",
                                                                    "..",
                                                                    "gmw",
                                                                    "gmw/",
                                                                    "/gmw/de",
                                                                    "gmw/../gmw/de",
                                                                    "../phontab",
                                                                    "./ko",
                                                                    "../voices/!v/f3",
                                                                    "!v/f3",
                                                                    "mb-de1",
                                                                    "mb/mb-de1",
                                                                    "variant",
                                                                    "/etc/passwd",
                                                                    std::string(5000, 'x')}) {
    EXPECT_FALSE(HasVoice(name)) << name;
  }
}

TEST_F(SynthesiserTest, MissingVoiceIsNamed) {
  try {
    Speak({.voice = "nosuch"});
    FAIL();
  } catch (const Failure& failure) {
    EXPECT_STREQ(failure.what(), "no voice 'nosuch'");
  }
}

TEST_F(SynthesiserTest, RateChangesTheLength) {
  const auto normal = static_cast<double>(LengthOf({.voice = "de"}));
  const auto slow = static_cast<double>(LengthOf({.voice = "de", .rateWordsPerMinute = 80}));
  const auto fast = static_cast<double>(LengthOf({.voice = "de", .rateWordsPerMinute = 350}));
  EXPECT_GT(slow, normal * 1.5);
  EXPECT_LT(fast, normal * 0.7);
}

TEST_F(SynthesiserTest, PitchChangesTheHeight) {
  EXPECT_GT(Brightness({.voice = "de", .pitch = 99}),
            Brightness({.voice = "de", .pitch = 0}) * 1.05);
}

TEST_F(SynthesiserTest, VolumeChangesTheLevel) {
  const double normal = LevelOf({.voice = "de"});
  EXPECT_EQ(LevelOf({.voice = "de", .volume = 0}), 0);
  EXPECT_NEAR(LevelOf({.voice = "de", .volume = 50}), normal / 2, normal * 0.1);
  EXPECT_GT(LevelOf({.voice = "de", .volume = 200}), normal * 1.3);
}

TEST_F(SynthesiserTest, SettingsDoNotOutliveTheirPiece) {
  const double normal = LevelOf({.voice = "de"});
  Speak({"en+f3", 300, 90, 0});
  EXPECT_NEAR(LevelOf({.voice = "de"}), normal, normal * 0.1);
}

TEST_F(SynthesiserTest, TextIsTakenLiterally) {
  const auto length = [&](const std::string& text) { return Speak({.voice = "de"}, text).size(); };
  EXPECT_GT(length("<b>fett</b>"), length("fett") * 2);
  EXPECT_GT(length("[[h@l]]"), length("hal") * 3 / 2);
  EXPECT_GT(length("-5 Grad"), length("5 Grad") * 5 / 4);
}

TEST_F(SynthesiserTest, SinkThatThrowsEndsTheSpeech) {
  ThrowingSink sink;
  const std::string text(5000, 'x');
  EXPECT_THROW(synthesiser_->Speak({text, {.voice = "de"}}, sink), std::runtime_error);
  EXPECT_EQ(sink.calls, 1);
  EXPECT_GT(LevelOf({.voice = "de"}), 0.02);
}

TEST_F(SynthesiserTest, ReplacementCharactersAreNotSpoken) {
  const auto length = [&](const std::string& text) {
    return static_cast<double>(Speak({.voice = "de"}, text).size());
  };
  EXPECT_NEAR(length("Hallo \xEF\xBF\xBD Welt"), length("Hallo Welt"), 500);
}

}  // namespace
