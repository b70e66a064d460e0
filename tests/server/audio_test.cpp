// The demo station with its real engine and the real aplay, which plays into files.

#include <algorithm>
#include <cmath>
#include <cstring>
#include <filesystem>
#include <span>
#include <string>
#include <vector>

#include "demo_station.h"
#include "engine/sound.h"
#include "support/loudness.h"

namespace servertest {

namespace {

using engine_test::Level;
using engine_test::ReadSound;
using engine_test::Sound;
using engine_test::ToneShare;
using testing::SizeIs;

constexpr double kHeardLevel = 0.02;
constexpr double kSilentLevel = 0.001;

class Audio : public DemoStation {
 protected:
  Audio() {
    LinkOrCopy(KA_ENGINE_PATH, EnginePath());
    stubs().Add("aplay", "exec /usr/bin/aplay \"$@\"");
    stage().Write("asound.conf",
                  "pcm.!default {\n"
                  "  type file\n"
                  "  slave.pcm { type null }\n"
                  "  file \"" +
                      HeardFile(0) +
                      "\"\n"
                      "  format wav\n"
                      "  truncate false\n"
                      "}\n");
    std::filesystem::create_directory(stage().Dir() + "/heard");
    Plan().Environment.push_back("ALSA_CONFIG_PATH=" + stage().Dir() + "/asound.conf");
  }

  /// What the n-th player played.
  Sound Heard(std::size_t n) const { return ReadSound(HeardFile(n)); }
  std::size_t HeardCount() const { return Entries(stage().Dir() + "/heard").size(); }

  /// Speaks a text on the text port and returns what was heard.
  Sound Speak(const std::string& text) const {
    const std::size_t n = HeardCount();
    EXPECT_EQ(AskText(text), kReceived);
    EXPECT_EQ(HeardCount(), n + 1) << text << "\n" << Err();
    return Heard(n);
  }

  /// Expects `heard` to be `played`, and silence up to the end of the player's last period.
  static void ExpectPlayed(const Sound& heard, const Sound& played) {
    EXPECT_EQ(heard.sampleRate, played.sampleRate);
    EXPECT_EQ(heard.channels, played.channels);
    ASSERT_GE(heard.samples.size(), played.samples.size());
    const auto end = heard.samples.begin() + static_cast<std::ptrdiff_t>(played.samples.size());
    EXPECT_TRUE(std::equal(heard.samples.begin(), end, played.samples.begin()));
    EXPECT_TRUE(std::all_of(end, heard.samples.end(), [](float sample) { return sample == 0; }));
  }

  /// The part of the sound's energy that lies in the gong's three tones, in pieces so short that
  /// the tones ring evenly.
  static double GongShare(std::span<const float> samples) {
    constexpr std::size_t kPiece = 1102;  // 50 ms
    double inTones = 0;
    double energy = 0;
    for (std::size_t at = 0; at + kPiece <= samples.size(); at += kPiece) {
      const auto piece = samples.subspan(at, kPiece);
      const double level = Level(piece);
      energy += level * level;
      for (const double hertz : {784.0, 659.0, 523.0}) {
        inTones += level * level * ToneShare(piece, hertz);
      }
    }
    return energy == 0 ? 0 : inTones / energy;
  }

 private:
  std::string HeardFile(std::size_t n) const {
    const std::string number = std::to_string(n);
    const std::string first = stage().Dir() + "/heard/heard.wav";
    return n == 0 ? first : first + "." + std::string(4 - number.size(), '0') + number;
  }
};

TEST_F(Audio, BlockAndPlayListAreHeardGongFirstThenSpeech) {
  Start();
  EXPECT_EQ(AskData(SampleBlock("departure-on-time")), kReceived);
  EXPECT_EQ(AskCommand("de0, en0"), kReceived);
  ASSERT_EQ(HeardCount(), 2U) << Err();
  const Sound gong = ReadSound(SoundsPath() + "/gong.wav");
  std::size_t n = 0;
  for (const char* name : {"de0", "en0"}) {
    SCOPED_TRACE(name);
    const Sound heard = Heard(n++);
    const Sound played = ReadSound(stage().Play() + "/" + name + ".wav");
    ExpectPlayed(heard, played);
    EXPECT_EQ(heard.sampleRate, 22050);

    const double gongEnd = gong.Seconds();
    const auto head = heard.Part(0, gongEnd);
    EXPECT_NEAR(Level(head), Level(gong.samples), 0.1 * Level(gong.samples));
    EXPECT_GT(GongShare(head), 0.8);
    EXPECT_TRUE(std::equal(gong.samples.begin(), gong.samples.end(), heard.samples.begin(),
                           [](float a, float b) { return std::abs(a - b) < 0.001F; }));
    const auto speech = heard.Part(gongEnd, heard.Seconds());
    EXPECT_GT(heard.Seconds(), gongEnd + 4);
    EXPECT_GT(Level(speech), kHeardLevel);
    EXPECT_LT(GongShare(speech), 0.2);
  }
}

TEST_F(Audio, PreparedPhraseIsPartOfTheAnnouncement) {
  Start();
  AskData(SampleBlock("departure-on-time"));
  const Sound phrase = ReadSound(stage().Steady() + "/de/approach.wav");
  const Sound announcement = ReadSound(stage().Play() + "/de0.wav");
  EXPECT_GT(Level(phrase.samples), kHeardLevel);
  const auto found = std::search(announcement.samples.begin(), announcement.samples.end(),
                                 phrase.samples.begin(), phrase.samples.end());
  EXPECT_NE(found, announcement.samples.end());
}

// What follows measures sounds, prepared phrases and voice apart, in what was heard.
constexpr double kTarget = -23;      // LUFS
constexpr double kTolerance = 1;     // LU
constexpr double kHighestPeak = -1;  // dBTP
constexpr double kAudibleSeconds = 0.2;

class Loudness : public Audio {
 protected:
  /// Expects every part of an announcement to be on target: first a sound of the station if there
  /// is one, then prepared phrases, and what the voice says between them.
  void ExpectLevelled(std::span<const float> heard) {
    EXPECT_LE(support::TruePeakOf(heard, kSampleRate), kHighestPeak);
    for (const std::vector<float>& file : recordings_) {
      for (std::size_t at = 0; (at = Find(heard, at, file)) < heard.size(); at += file.size())
        cuts_.push_back({at, at + file.size()});
    }
    std::ranges::sort(cuts_, {}, &Cut::Begin);
    std::size_t voiceBegin = 0;
    for (const Cut& cut : cuts_) {
      ExpectOnTarget(heard.subspan(voiceBegin, cut.Begin - voiceBegin), "voice");
      ExpectOnTarget(heard.subspan(cut.Begin, cut.End - cut.Begin), "recording");
      voiceBegin = cut.End;
    }
    ExpectOnTarget(heard.subspan(voiceBegin), "voice");
    cuts_.clear();
  }

  void ReadRecordings() {
    for (const std::string& directory :
         {SoundsPath(), stage().Steady() + "/de", stage().Steady() + "/en"}) {
      for (const std::string& name : Entries(directory)) {
        if (name.ends_with(".wav"))
          recordings_.push_back(ReadSound(directory + "/" + name).samples);
      }
    }
    ASSERT_THAT(recordings_, SizeIs(14));
  }

  std::size_t PartsMeasured(const std::string& what) const {
    return static_cast<std::size_t>(std::ranges::count(measured_, what));
  }

  /// The announcements that can be played, without the ending of their files.
  std::vector<std::string> Announcements() const {
    std::vector<std::string> names;
    for (const std::string& name : Entries(stage().Play()))
      if (name.ends_with(".wav")) names.push_back(name.substr(0, name.size() - 4));
    return names;
  }

 private:
  static constexpr int kSampleRate = 22050;

  struct Cut {
    std::size_t Begin;
    std::size_t End;
  };

  static std::size_t Find(std::span<const float> heard, std::size_t from,
                          const std::vector<float>& recording) {
    const auto rest = std::as_bytes(heard.subspan(from));
    const auto wanted = std::as_bytes(std::span(recording));
    const void* found = memmem(rest.data(), rest.size(), wanted.data(), wanted.size());
    return found == nullptr
               ? heard.size()
               : static_cast<std::size_t>(static_cast<const float*>(found) - heard.data());
  }

  void ExpectOnTarget(std::span<const float> part, const std::string& what) {
    const auto isLoud = [](float sample) { return std::abs(sample) > kSilentLevel; };
    const auto loud = static_cast<double>(std::ranges::count_if(part, isLoud));
    if (loud < kAudibleSeconds * kSampleRate / 2) return;  // a pause
    measured_.push_back(what);
    EXPECT_NEAR(support::LoudnessOf(part, kSampleRate), kTarget, kTolerance)
        << what << " of " << static_cast<double>(part.size()) / kSampleRate << " s";
  }

  std::vector<std::vector<float>> recordings_;
  std::vector<Cut> cuts_;
  std::vector<std::string> measured_;
};

TEST_F(Loudness, GongPreparedPhraseAndVoiceAreEquallyLoudInEveryAnnouncement) {
  Start();
  ReadRecordings();
  for (const std::string& block : SampleBlocks()) {
    SCOPED_TRACE(block);
    AskData(SampleBlock(block));
    for (const std::string& name : Announcements()) {
      SCOPED_TRACE(name);
      const std::size_t n = HeardCount();
      EXPECT_EQ(AskCommand(name), kReceived);
      ASSERT_EQ(HeardCount(), n + 1) << Err();
      const Sound heard = Heard(n);
      // The player fills its last period with silence.
      const double seconds = ReadSound(stage().Play() + "/" + name + ".wav").Seconds();
      ExpectLevelled(heard.Part(0, seconds));
    }
  }
  EXPECT_GT(PartsMeasured("recording"), 50U);
  EXPECT_GT(PartsMeasured("voice"), 40U);
}

TEST_F(Loudness, BellIsAsLoudAsTheVoice) {
  Start();
  AskCommand("!bell");
  ASSERT_EQ(HeardCount(), 1U) << Err();
  const Sound heard = Heard(0);
  EXPECT_NEAR(support::LoudnessOf(heard.samples, heard.sampleRate), kTarget, kTolerance);
  EXPECT_LE(support::TruePeakOf(heard.samples, heard.sampleRate), kHighestPeak);
}

TEST_F(Loudness, TextsOfTheTextPortAreAsLoudAsAnnouncements) {
  Start();
  for (const std::string text :
       {"Achtung.", "Bitte nicht einsteigen.",
        "Sehr geehrte Fahrgäste, wegen einer Signalstörung verkehren die Züge in Richtung Hamburg "
        "heute von anderen Gleisen. Bitte beachten Sie die Anzeigen und die weiteren Ansagen."}) {
    const Sound heard = Speak(text);
    EXPECT_NEAR(support::LoudnessOf(heard.samples, heard.sampleRate), kTarget, kTolerance) << text;
    EXPECT_LE(support::TruePeakOf(heard.samples, heard.sampleRate), kHighestPeak) << text;
  }
}

TEST_F(Audio, BellIsHeard) {
  Start();
  AskCommand("!bell");
  ASSERT_EQ(HeardCount(), 1U) << Err();
  ExpectPlayed(Heard(0), ReadSound(SoundsPath() + "/bell.wav"));
}

TEST_F(Audio, TextOfTheTextPortIsHeard) {
  Start();
  const Sound heard = Speak("Sehr geehrte Fahrgäste, bitte beachten Sie die Ansagen.");
  EXPECT_GT(heard.Seconds(), 2);
  EXPECT_LT(heard.Seconds(), 10);
  EXPECT_GT(Level(heard.samples), kHeardLevel);
}

TEST_F(Audio, TextThatBeginsLikeAnOptionIsHeard) {
  Start();
  EXPECT_GT(Level(Speak("-5 Grad").samples), kHeardLevel);
}

// The shell's double quotes stand between the port and the engine: a backslash before a letter
// passes them.
TEST_F(Audio, EveryTagReachesTheEngineThroughTheTextPort) {
  Start();
  const std::string text = "Der Zug fährt in wenigen Minuten ab.";
  const Sound plain = Speak(text);

  const Sound paused = Speak("\\pause(2000)" + text);
  EXPECT_NEAR(paused.Seconds(), plain.Seconds() + 2, 0.3);
  EXPECT_LT(Level(paused.Part(0, 1.9)), kSilentLevel);

  EXPECT_LT(Speak("\\rate(350)" + text).Seconds(), 0.8 * plain.Seconds());
  EXPECT_GT(Speak("\\rate(90)" + text).Seconds(), 1.2 * plain.Seconds());
  EXPECT_LT(Level(Speak("\\volume(20)" + text).samples), 0.5 * Level(plain.samples));
  EXPECT_NE(Speak("\\pitch(95)" + text).samples, plain.samples);
  EXPECT_NE(Speak("\\voice(en-gb)" + text).samples, plain.samples);

  const Sound bell = ReadSound(SoundsPath() + "/bell.wav");
  const Sound rung = Speak("\\audio(play=" + SoundsPath() + "/bell.wav)" + text);
  ASSERT_GT(rung.samples.size(), bell.samples.size());
  EXPECT_NEAR(rung.Seconds(), plain.Seconds() + bell.Seconds(), 0.5);
  EXPECT_NEAR(Level(rung.Part(0, bell.Seconds())), Level(bell.samples), 0.1 * Level(bell.samples));
}

TEST_F(Audio, TextsOfEarlierSpeechesAreNotHeardAgain) {
  Start();
  const Sound first = Speak("Eins.");
  const Sound second = Speak("Eins.");
  EXPECT_EQ(first.samples, second.samples);
  EXPECT_THAT(stubs().CallsOf("aplay"), SizeIs(2));
}

}  // namespace

}  // namespace servertest
