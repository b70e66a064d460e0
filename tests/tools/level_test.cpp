// `ka-tts level` on files of all kinds, measured against the reference library.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sndfile.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>
#include <numbers>
#include <string>
#include <vector>

#include "demo_station.h"
#include "program.h"
#include "support/loudness.h"
#include "support/temp_dir.h"

namespace toolstest {

namespace {

namespace fs = std::filesystem;
using nlohmann::json;
using testing::HasSubstr;
using testing::Not;

constexpr double kTarget = -23;
constexpr double kTolerance = 0.1;

/// A tone, or what else a test needs.
struct Recording {
  double Seconds = 4;
  double Amplitude = 0.5;
  int SampleRate = 22050;
  int Channels = 1;
  int Format = SF_FORMAT_WAV | SF_FORMAT_PCM_16;
  double SilenceBefore = 0;
  double SilenceAfter = 0;
  double Click = 0;  ///< height of one sample in the middle
  const char* Title = nullptr;
};

void WriteRecording(const std::string& path, const Recording& recording) {
  SF_INFO info{};
  info.samplerate = recording.SampleRate;
  info.channels = recording.Channels;
  info.format = recording.Format;
  SNDFILE* file = sf_open(path.c_str(), SFM_WRITE, &info);
  ASSERT_NE(file, nullptr) << sf_strerror(nullptr);
  if (recording.Title != nullptr) sf_set_string(file, SF_STR_TITLE, recording.Title);
  const auto frames = [&](double seconds) { return std::lround(seconds * recording.SampleRate); };
  const long count = frames(recording.Seconds);
  std::vector<double> mono(static_cast<std::size_t>(frames(recording.SilenceBefore) + count +
                                                    frames(recording.SilenceAfter)));
  for (long i = 0; i < count; ++i) {
    mono[static_cast<std::size_t>(frames(recording.SilenceBefore) + i)] =
        recording.Amplitude *
        std::cos(2 * std::numbers::pi * 997 * static_cast<double>(i) / recording.SampleRate);
  }
  if (recording.Click != 0) mono[mono.size() / 2] = recording.Click;
  for (const double sample : mono) {
    const std::vector<double> frame(static_cast<std::size_t>(recording.Channels), sample);
    sf_writef_double(file, frame.data(), 1);
  }
  sf_close(file);
}

/// What a file holds; several channels are mixed down.
struct Contents {
  SF_INFO Info{};
  std::vector<float> Mono;
  std::string Title;

  double Loudness() const { return support::LoudnessOf(Mono, Info.samplerate); }
  double TruePeak() const { return support::TruePeakOf(Mono, Info.samplerate); }
};

Contents ReadRecording(const std::string& path) {
  Contents contents;
  SNDFILE* file = sf_open(path.c_str(), SFM_READ, &contents.Info);
  EXPECT_NE(file, nullptr) << path;
  if (file == nullptr) return contents;
  const auto channels = static_cast<std::size_t>(contents.Info.channels);
  std::vector<float> samples(static_cast<std::size_t>(contents.Info.frames) * channels);
  sf_readf_float(file, samples.data(), contents.Info.frames);
  const char* title = sf_get_string(file, SF_STR_TITLE);
  if (title != nullptr) contents.Title = title;
  sf_close(file);
  for (std::size_t i = 0; i < samples.size(); i += channels) {
    float sum = 0;
    for (std::size_t channel = 0; channel < channels; ++channel)
      sum += samples[i + channel];
    contents.Mono.push_back(sum / static_cast<float>(channels));
  }
  return contents;
}

/// Files without a station.
class LevelFiles : public testing::Test {
 protected:
  std::string Make(const std::string& name, const Recording& recording) const {
    const std::string path = dir_.Sub(name);
    WriteRecording(path, recording);
    return path;
  }

  /// Runs with JSON output and keeps it.
  int Run(std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), {"level", "--station", dir_.Path(), "--json"});
    const Ended ended = RunTool(arguments);
    EXPECT_EQ(ended.Err, "");
    report_ = json::parse(ended.Out, nullptr, false);
    EXPECT_FALSE(report_.is_discarded()) << ended.Out;
    return ended.Status;
  }

  std::string Text(std::vector<std::string> arguments) const {
    arguments.insert(arguments.begin(), {"level", "--station", dir_.Path()});
    return RunTool(arguments).Out;
  }

  const json& File(std::size_t n = 0) const { return report_.at("files").at(n); }
  std::string State(std::size_t n = 0) const { return File(n).at("state"); }

  std::vector<std::string> FilesHere() const {
    std::vector<std::string> names;
    for (const auto& entry : fs::directory_iterator(dir_.Path()))
      names.push_back(entry.path().filename());
    std::ranges::sort(names);
    return names;
  }

  support::TempDir dir_;
  json report_;
};

TEST_F(LevelFiles, MeasuresLoudnessAsTheReferenceDoes) {
  for (const double seconds : {0.1, 0.4, 1.0, 2.99, 3.0, 10.0}) {
    for (const int rate : {8000, 22050, 44100, 48000}) {
      SCOPED_TRACE(testing::Message() << seconds << " s at " << rate << " Hz");
      const std::string file =
          Make("a.wav", {.Seconds = seconds, .SampleRate = rate, .SilenceAfter = 0});
      EXPECT_EQ(Run({file}), 1);
      const Contents contents = ReadRecording(file);
      EXPECT_NEAR(File().at("loudness"), contents.Loudness(), 0.011);
      EXPECT_NEAR(File().at("truePeak"), contents.TruePeak(), 0.011);
      EXPECT_NEAR(File().at("seconds"), seconds, 0.005);
      EXPECT_EQ(File().at("sampleRate"), rate);
      EXPECT_EQ(File().at("measure"), seconds < 3 ? "momentary" : "integrated");
    }
  }
}

TEST_F(LevelFiles, ShortClipCountsByItsLoudestMoment) {
  const std::string file = Make("a.wav", {.Seconds = 0.5, .SilenceAfter = 2.4});
  Run({file});
  EXPECT_NEAR(File().at("loudness"), -9.03, kTolerance);
}

TEST_F(LevelFiles, ClipShorterThanTheWindowCountsAsIfSilenceFollowed) {
  const std::string file = Make("a.wav", {.Seconds = 0.2});
  Run({file});
  EXPECT_NEAR(File().at("loudness"), -9.03 - 3.01, kTolerance);
}

TEST_F(LevelFiles, SilenceBeforeAndAfterIsMeasured) {
  const std::string file = Make("a.wav", {.SilenceBefore = 0.25, .SilenceAfter = 1.5});
  Run({file});
  EXPECT_NEAR(File().at("leadingSilence"), 0.25, 0.01);
  EXPECT_NEAR(File().at("trailingSilence"), 1.5, 0.01);
}

TEST_F(LevelFiles, SilenceIsBelowSixtyDecibelsUnderFullScale) {
  const std::string soft = Make("soft.wav", {.Amplitude = 0.00095});
  const std::string loud = Make("loud.wav", {.Amplitude = 0.0011});
  Run({soft, loud});
  EXPECT_NEAR(File(0).at("leadingSilence"), 4, 0.01);
  EXPECT_NEAR(File(1).at("leadingSilence"), 0, 0.01);
}

TEST_F(LevelFiles, ReportAloneChangesNothing) {
  const std::string file = Make("a.wav", {});
  const std::string bytes = support::ReadFile(file);
  EXPECT_EQ(Run({file}), 1);
  EXPECT_EQ(State(), "off");
  EXPECT_NEAR(File().at("gain"), kTarget + 9.03, kTolerance);
  EXPECT_EQ(support::ReadFile(file), bytes);
  EXPECT_EQ(FilesHere(), std::vector<std::string>{"a.wav"});
}

TEST_F(LevelFiles, EveryCodingIsWrittenOnTargetAndKept) {
  for (const int container : {SF_FORMAT_WAV, SF_FORMAT_WAVEX}) {
    for (const int coding : {SF_FORMAT_PCM_U8, SF_FORMAT_PCM_16, SF_FORMAT_PCM_24, SF_FORMAT_PCM_32,
                             SF_FORMAT_FLOAT, SF_FORMAT_DOUBLE}) {
      for (const int channels : {1, 2}) {
        SCOPED_TRACE(testing::Message()
                     << std::hex << container << " " << coding << " " << channels);
        const std::string file = Make(
            "a.wav", {.SampleRate = 44100, .Channels = channels, .Format = container | coding});
        const SF_INFO before = ReadRecording(file).Info;
        EXPECT_EQ(Run({"--write", file}), 0);
        EXPECT_EQ(State(), "levelled");
        const Contents after = ReadRecording(file);
        EXPECT_NEAR(after.Loudness(), kTarget, kTolerance);
        EXPECT_NEAR(File().at("after").at("loudness"), after.Loudness(), 0.011);
        EXPECT_EQ(after.Info.format, before.format);
        EXPECT_EQ(after.Info.channels, before.channels);
        EXPECT_EQ(after.Info.samplerate, before.samplerate);
        EXPECT_EQ(after.Info.frames, before.frames);
        fs::remove(file + ".orig");
      }
    }
  }
}

TEST_F(LevelFiles, GainChangesNothingButTheHeightOfTheSamples) {
  const std::string file = Make("a.wav", {});
  const Contents before = ReadRecording(file);
  Run({"--write", file});
  const Contents after = ReadRecording(file);
  const float gain = std::pow(10.0F, File().at("gain").get<float>() / 20);
  ASSERT_EQ(after.Mono.size(), before.Mono.size());
  for (std::size_t i = 0; i < before.Mono.size(); ++i)
    ASSERT_NEAR(after.Mono[i], before.Mono[i] * gain, 0.0003) << i;
}

// Both in announcements, where the engine mixes them down, and over a line to the loudspeakers.
TEST_F(LevelFiles, ChannelsAreMeasuredMixedDown) {
  const std::string one = Make("one.wav", {});
  const std::string two = Make("two.wav", {.Channels = 2});
  Run({one, two});
  EXPECT_EQ(File(0).at("loudness"), File(1).at("loudness"));
}

TEST_F(LevelFiles, WrittenFileIsFineTheNextTime) {
  const std::string file = Make("a.wav", {});
  EXPECT_EQ(Run({"--write", file}), 0);
  const std::string bytes = support::ReadFile(file);
  EXPECT_EQ(Run({"--write", file}), 0);
  EXPECT_EQ(State(), "fine");
  EXPECT_EQ(support::ReadFile(file), bytes);
}

TEST_F(LevelFiles, LessThanHalfAUnitIsOnTarget) {
  const std::string file = Make("a.wav", {});
  Run({"--write", "--target", "-23", file});
  EXPECT_EQ(Run({"--target", "-22.6", file}), 0);
  EXPECT_EQ(Run({"--target", "-23.4", file}), 0);
  EXPECT_EQ(Run({"--target", "-22.4", file}), 1);
  EXPECT_EQ(Run({"--target", "-23.6", file}), 1);
}

TEST_F(LevelFiles, PeakLimitsTheGainAndTheReportSaysSo) {
  const std::string file = Make("a.wav", {.Amplitude = 0.01, .Click = 0.5});
  EXPECT_EQ(Run({file}), 1);
  EXPECT_EQ(State(), "limited");
  EXPECT_TRUE(File().at("limitedByPeak"));
  EXPECT_THAT(Text({file}), HasSubstr("its peak allows only +"));
  EXPECT_EQ(Run({"--write", file}), 1);
  EXPECT_EQ(State(), "limited");
  const Contents after = ReadRecording(file);
  EXPECT_LE(after.TruePeak(), -1);
  EXPECT_GT(after.TruePeak(), -1.3);
  EXPECT_LT(after.Loudness(), kTarget - 1);
  const std::string bytes = support::ReadFile(file);
  EXPECT_EQ(Run({"--write", file}), 1);
  EXPECT_EQ(support::ReadFile(file), bytes) << "nothing more to gain";
}

TEST_F(LevelFiles, PeakAboveTheLimitIsLoweredAlthoughTheLoudnessIsRight) {
  const std::string file = Make("a.wav", {.Amplitude = 0.1, .Click = 0.999});
  const double loudness = ReadRecording(file).Loudness();
  EXPECT_EQ(Run({"--target", std::to_string(loudness), file}), 1);
  Run({"--target", std::to_string(loudness), "--write", file});
  EXPECT_LE(ReadRecording(file).TruePeak(), -1);
}

TEST_F(LevelFiles, LowerPeakMayBeWanted) {
  const std::string file = Make("a.wav", {.Amplitude = 0.01, .Click = 0.5});
  Run({"--write", "--peak", "-9", file});
  EXPECT_NEAR(ReadRecording(file).TruePeak(), -9.1, 0.1);
}

TEST_F(LevelFiles, SilentFileIsNamedAndLeftAlone) {
  const std::string file = Make("a.wav", {.Amplitude = 0});
  EXPECT_EQ(Run({"--write", file}), 1);
  EXPECT_EQ(State(), "silent");
  EXPECT_TRUE(File().at("loudness").is_null());
  EXPECT_EQ(FilesHere(), std::vector<std::string>{"a.wav"});
  EXPECT_THAT(Text({file}), HasSubstr("silent: nothing to measure"));
}

TEST_F(LevelFiles, OriginalIsKeptBesideAndNeverOverwritten) {
  const std::string file = Make("a.wav", {});
  const std::string original = support::ReadFile(file);
  Run({"--write", file});
  EXPECT_EQ(File().at("backup"), file + ".orig");
  EXPECT_EQ(support::ReadFile(file + ".orig"), original);
  Run({"--write", "--target", "-30", file});
  EXPECT_EQ(support::ReadFile(file + ".orig"), original);
  EXPECT_NEAR(ReadRecording(file).Loudness(), -30, kTolerance);
  EXPECT_EQ(FilesHere(), (std::vector<std::string>{"a.wav", "a.wav.orig"}));
}

TEST_F(LevelFiles, DirectoryOfOriginalsKeepsTheirPaths) {
  const std::string file = Make("a.wav", {});
  const std::string original = support::ReadFile(file);
  const std::string backup = dir_.Sub("originals/deep");
  EXPECT_EQ(Run({"--write", "--backup", backup, file}), 0);
  EXPECT_EQ(support::ReadFile(backup + file), original);
  EXPECT_FALSE(fs::exists(file + ".orig"));
}

TEST_F(LevelFiles, WithoutABackupNothingIsWritten) {
  const std::string file = Make("a.wav", {});
  const std::string original = support::ReadFile(file);
  const std::string obstacle = dir_.Write("obstacle", "no directory");
  EXPECT_EQ(Run({"--write", "--backup", obstacle, file}), 2);
  EXPECT_EQ(State(), "failed");
  EXPECT_THAT(File().at("problem"), HasSubstr("nothing was changed"));
  EXPECT_EQ(support::ReadFile(file), original);
  EXPECT_EQ(FilesHere(), (std::vector<std::string>{"a.wav", "obstacle"}));
}

TEST_F(LevelFiles, ModeAndOwnerStay) {
  const std::string file = Make("a.wav", {});
  ASSERT_EQ(::chmod(file.c_str(), 0640), 0);
  const bool bRoot = ::geteuid() == 0;
  if (bRoot) {
    ASSERT_EQ(::chown(file.c_str(), 12345, 23456), 0);
  }
  Run({"--write", file});
  for (const std::string& name : {file, file + ".orig"}) {
    struct stat status {};
    ASSERT_EQ(::stat(name.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777, 0640U) << name;
    EXPECT_EQ(status.st_uid, bRoot ? 12345 : ::geteuid()) << name;
    EXPECT_EQ(status.st_gid, bRoot ? 23456 : ::getegid()) << name;
  }
}

TEST_F(LevelFiles, WhoHasTheFileOpenReadsTheOldOneToItsEnd) {
  const std::string file = Make("a.wav", {});
  const std::string original = support::ReadFile(file);
  std::ifstream player(file, std::ios::binary);
  std::string head(100, '\0');
  player.read(head.data(), 100);
  Run({"--write", file});
  const std::string tail{std::istreambuf_iterator<char>(player), {}};
  EXPECT_EQ(head + tail, original);
  EXPECT_NE(support::ReadFile(file), original);
}

TEST_F(LevelFiles, LinkStaysALinkAndItsTargetIsWritten) {
  const std::string file = Make("a.wav", {});
  fs::create_symlink("a.wav", dir_.Sub("link.wav"));
  EXPECT_EQ(Run({"--write", dir_.Sub("link.wav")}), 0);
  EXPECT_TRUE(fs::is_symlink(dir_.Sub("link.wav")));
  EXPECT_NEAR(ReadRecording(file).Loudness(), kTarget, kTolerance);
}

TEST_F(LevelFiles, TitleStays) {
  const std::string file = Make("a.wav", {.Title = "Gong der Halle"});
  Run({"--write", file});
  EXPECT_EQ(ReadRecording(file).Title, "Gong der Halle");
}

TEST_F(LevelFiles, FileThatCannotBeMeasuredIsNamedAndTheOthersAreDone) {
  const std::string good = Make("good.wav", {});
  const std::string mulaw = Make("mulaw.wav", {.Format = SF_FORMAT_WAV | SF_FORMAT_ULAW});
  const std::string flac = Make("flac.wav", {.Format = SF_FORMAT_FLAC | SF_FORMAT_PCM_16});
  const std::string text = dir_.Write("text.wav", "no sound at all");
  const std::string empty = Make("empty.wav", {.Seconds = 0});
  EXPECT_EQ(Run({"--write", mulaw, flac, text, empty, dir_.Sub("missing.wav"), dir_.Path(), good}),
            2);
  for (std::size_t n = 0; n < 6; ++n) {
    EXPECT_EQ(State(n), "failed") << n;
    EXPECT_THAT(File(n).at("problem"), Not(testing::IsEmpty()));
  }
  EXPECT_EQ(State(6), "levelled");
  EXPECT_EQ(report_.at("failed"), 6);
  EXPECT_THAT(Text({mulaw}), HasSubstr("is no .wav file with PCM or floating point numbers"));
}

TEST_F(LevelFiles, FloatingPointValuesThatAreNoNumbersCountAsSilence) {
  const std::string file =
      Make("a.wav", {.Format = SF_FORMAT_WAV | SF_FORMAT_FLOAT, .Click = std::nan("")});
  EXPECT_EQ(Run({"--write", file}), 0);
  EXPECT_NEAR(ReadRecording(file).Loudness(), kTarget, kTolerance);
}

TEST_F(LevelFiles, OptionsThatMakeNoSenseAreWrongUsage) {
  const std::string file = Make("a.wav", {});
  const std::vector<std::vector<std::string>> wrong = {
      {"--target", "-9"},        {"--target", "-51"},       {"--target", "loud"},
      {"--target", "nan"},       {"--peak", "0.1"},         {"--peak", "-21"},
      {"--offset", "gong=1"},    {"--offset", "bell"},      {"--offset", "bell="},
      {"--offset", "bell=x"},    {"--offset", "bell=31"},   {"--offset", "bell=nan"},
      {"--offset", "bell=1 dB"}, {"--backup", dir_.Path()}, {"--nosuch"}};
  for (std::vector<std::string> arguments : wrong) {
    arguments.insert(arguments.begin(), "level");
    arguments.push_back(file);
    const Ended ended = RunTool(arguments);
    EXPECT_EQ(ended.Status, 2) << testing::PrintToString(arguments);
    EXPECT_EQ(ended.Out, "");
    EXPECT_NE(ended.Err, "");
  }
}

TEST_F(LevelFiles, WithoutFilesAStationIsNeeded) {
  EXPECT_EQ(RunTool({"level", "--station", dir_.Path()}).Status, 2);
}

TEST_F(LevelFiles, TextSpeaksBothLanguages) {
  const std::string file = Make("a.wav", {});
  EXPECT_THAT(Text({file}), HasSubstr("off its target -23.0 LUFS: needs -14.0 dB"));
  EXPECT_THAT(Text({"--lang", "de", file}),
              HasSubstr("neben dem Ziel -23.0 LUFS: es fehlen -14.0 dB"));
  EXPECT_THAT(Text({file}), HasSubstr("1 files: 0 on target, 1 off, 0 not measured or written"));
}

/// The files of a station.
class LevelStation : public testing::Test {
 protected:
  LevelStation() {
    fs::create_directories(station_.Sub("run/steady/de"));
    fs::create_directories(station_.Sub("run/steady/en"));
  }

  std::string Sound(const std::string& name) const {
    return station_.Sub("announcements/sounds/" + name);
  }

  /// A prepared phrase and its text, both `ago` old or, if negative, in the future.
  std::string MakePhrase(std::chrono::seconds wavAgo, std::chrono::seconds textAgo) const {
    const std::string wav = station_.Sub("run/steady/de/approach.wav");
    WriteRecording(wav, {});
    const std::string text = station_.Write("run/steady/de/approach.txt", "Bitte Vorsicht");
    const auto now = fs::file_time_type::clock::now();
    fs::last_write_time(wav, now - wavAgo);
    fs::last_write_time(text, now - textAgo);
    return wav;
  }

  static bool IsOlderThanItsText(const std::string& wav) {
    return fs::last_write_time(wav) < fs::last_write_time(fs::path(wav).replace_extension(".txt"));
  }

  int Run(std::vector<std::string> arguments = {}) {
    arguments.insert(arguments.begin(), {"level", "--station", station_.Dir(), "--json"});
    const Ended ended = RunTool(arguments);
    EXPECT_EQ(ended.Err, "");
    report_ = json::parse(ended.Out, nullptr, false);
    return ended.Status;
  }

  /// What is reported of a file, null if nothing is.
  json ReportOf(const std::string& name) const {
    for (const json& file : report_.at("files"))
      if (file.at("file") == name) return file;
    return {};
  }

  DemoStation station_;
  json report_;
};

TEST_F(LevelStation, DemoSoundsAreOnTarget) {
  EXPECT_EQ(Run(), 0);
  EXPECT_EQ(report_.at("onTarget"), 2);
  EXPECT_NEAR(ReportOf("announcements/sounds/gong.wav").at("loudness"), kTarget, kTolerance);
  EXPECT_NEAR(ReportOf("announcements/sounds/bell.wav").at("loudness"), kTarget, kTolerance);
}

TEST_F(LevelStation, EachFileHasTheKindThatItIsHeardAs) {
  MakePhrase(std::chrono::seconds(0), std::chrono::seconds(0));
  Run();
  EXPECT_EQ(report_.at("files").size(), 3U);
  EXPECT_EQ(ReportOf("announcements/sounds/gong.wav").at("kind"), "sound");
  // An announcement names it, too.
  EXPECT_EQ(ReportOf("announcements/sounds/bell.wav").at("kind"), "bell");
  EXPECT_EQ(ReportOf("run/steady/de/approach.wav").at("kind"), "speech");
}

TEST_F(LevelStation, OffsetsAreForTheirKinds) {
  MakePhrase(std::chrono::seconds(0), std::chrono::seconds(0));
  EXPECT_EQ(Run({"--write", "--offset", "bell=-3", "--offset", "speech=+1.5"}), 0);
  EXPECT_NEAR(ReadRecording(Sound("gong.wav")).Loudness(), kTarget, kTolerance);
  EXPECT_NEAR(ReadRecording(Sound("bell.wav")).Loudness(), kTarget - 3, kTolerance);
  EXPECT_NEAR(ReadRecording(station_.Sub("run/steady/de/approach.wav")).Loudness(), kTarget + 1.5,
              kTolerance);
}

TEST_F(LevelStation, NamedFileOfTheStationHasItsKind) {
  fs::create_symlink(Sound("bell.wav"), station_.Sub("other.wav"));
  Run({"--offset", "bell=-3", station_.Sub("other.wav")});
  ASSERT_EQ(report_.at("files").size(), 1U);
  EXPECT_EQ(report_.at("files").at(0).at("kind"), "bell");
  EXPECT_EQ(report_.at("files").at(0).at("target"), kTarget - 3);
}

TEST_F(LevelStation, SoundThatTheDocumentNamesButNobodyMadeIsAFailure) {
  fs::remove(Sound("gong.wav"));
  EXPECT_EQ(Run(), 2);
  EXPECT_EQ(ReportOf("announcements/sounds/gong.wav").at("state"), "failed");
  EXPECT_EQ(ReportOf("announcements/sounds/bell.wav").at("state"), "fine");
}

TEST_F(LevelStation, OriginalsGoToTheStationsState) {
  fs::create_directories(station_.Sub("state"));
  WriteRecording(Sound("gong.wav"), {});
  const std::string original = support::ReadFile(Sound("gong.wav"));
  EXPECT_EQ(Run({"--write"}), 0);
  const std::string backup = "state/backup/announcements/sounds/gong.wav";
  EXPECT_EQ(ReportOf("announcements/sounds/gong.wav").at("backup"), backup);
  EXPECT_EQ(support::ReadFile(station_.Sub(backup)), original);
  EXPECT_FALSE(fs::exists(Sound("gong.wav.orig")));
}

TEST_F(LevelStation, OriginalsStayBesideWithoutAStateDirectory) {
  WriteRecording(Sound("gong.wav"), {});
  EXPECT_EQ(Run({"--write"}), 0);
  EXPECT_TRUE(fs::exists(Sound("gong.wav.orig")));
  EXPECT_EQ(RunTool({"check", "--station", station_.Dir()}).Status, 0);
}

TEST_F(LevelStation, WrittenPhraseIsNotOlderThanItsText) {
  for (const int seconds : {60, 0, -3600}) {
    const std::chrono::seconds textAgo(seconds);
    const std::string wav = MakePhrase(textAgo, textAgo);
    EXPECT_EQ(Run({"--write"}), 0);
    EXPECT_EQ(ReportOf("run/steady/de/approach.wav").at("state"), "levelled");
    EXPECT_FALSE(IsOlderThanItsText(wav)) << textAgo.count();
  }
}

// Its age is what tells that it does not say its text any more.
TEST_F(LevelStation, OutdatedPhraseStaysOlderThanItsText) {
  const std::string wav = MakePhrase(std::chrono::seconds(60), std::chrono::seconds(30));
  EXPECT_EQ(Run({"--write"}), 0);
  EXPECT_TRUE(IsOlderThanItsText(wav));
}

TEST_F(LevelStation, PhrasesThatAllLanguagesShareAreFound) {
  station_.Replace(
      "announcements/station.xml", "<Element id=\"gong\" trait=\"sound\"/>",
      "<Element id=\"gong\" trait=\"sound\"/><Element id=\"shared\" trait=\"steady\"/>");
  WriteRecording(station_.Sub("run/steady/en/shared.wav"), {});
  Run();
  EXPECT_EQ(ReportOf("run/steady/en/shared.wav").at("kind"), "speech");
}

}  // namespace

}  // namespace toolstest
