#include "level/level_report.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <nlohmann/json.hpp>

#include "common/terminal.h"

namespace tools {

namespace {

using Json = nlohmann::ordered_json;

constexpr Bilingual kSound = {"Klang", "sound"};
constexpr Bilingual kBell = {"Klingel", "bell"};
constexpr Bilingual kSpeech = {"Sprache", "speech"};

constexpr Bilingual kHead = {
    "Art        Länge   Rate  Kanäle  Bit     Stille     LUFS    dBTP  Datei\n",
    "kind      length   rate  chans.  bits    silence    LUFS    dBTP  file\n"};
constexpr const char* kRow =
    "{:<8} {:>5.2f} s {:>6} {:>7}  {:<6} {:>4.2f} {:>4.2f} {:>7}{} {:>7}  {}\n";
constexpr const char* kMomentaryMark = "M";

constexpr Bilingual kOff = {"neben dem Ziel {0:.1f} LUFS: es fehlen {1:+.1f} dB",
                            "off its target {0:.1f} LUFS: needs {1:+.1f} dB"};
constexpr Bilingual kLimited = {
    "neben dem Ziel {0:.1f} LUFS: Mit Rücksicht auf die Spitze sind nur {1:+.1f} dB möglich, "
    "das ergibt {2:.1f} LUFS",
    "off its target {0:.1f} LUFS: its peak allows only {1:+.1f} dB, which makes {2:.1f} LUFS"};
constexpr Bilingual kWritten = {"geschrieben mit {0:+.1f} dB: jetzt {1:.1f} LUFS, {2:.1f} dBTP",
                                "written with {0:+.1f} dB: now {1:.1f} LUFS, {2:.1f} dBTP"};
constexpr Bilingual kStillOff = {"; das Ziel {0:.1f} LUFS lässt die Spitze nicht zu",
                                 "; its peak does not allow the target {0:.1f} LUFS"};
constexpr Bilingual kOriginal = {"das Original ist {0}", "the original is {0}"};
constexpr Bilingual kSilent = {"stumm: nichts zu messen", "silent: nothing to measure"};

constexpr Bilingual kSummary = {
    "{0} Dateien: {1} am Ziel, {2} daneben, {3} nicht gemessen oder geschrieben\n",
    "{0} files: {1} on target, {2} off, {3} not measured or written\n"};
constexpr Bilingual kNote = {
    "M: größte momentane Lautheit (unter 3 s), sonst integrierte. Stille: vorn und hinten, unter "
    "-60 dBFS.\n",
    "M: maximum momentary loudness (under 3 s), else integrated. Silence: before and after, below "
    "-60 dBFS.\n"};

const Bilingual& TitleOf(SoundKind kind) {
  switch (kind) {
    case SoundKind::Sound:
      return kSound;
    case SoundKind::Bell:
      return kBell;
    case SoundKind::Speech:
      return kSpeech;
  }
  return kSound;
}

/// A level with one digit behind the point, "-" for silence.
std::string InDecibels(double value) {
  return std::isfinite(value) ? fmt::format("{:.1f}", value) : "-";
}

std::string InDecibels(const std::optional<double>& value) {
  return value ? InDecibels(*value) : "-";
}

std::string RowOf(const FileLevel& level, const Report& names) {
  const Measurement& sound = level.Before;
  return fmt::format(fmt::runtime(kRow), TitleOf(level.Sound.Kind)(names.Lang()),
                     level.Format.Seconds(), level.Format.SampleRate, level.Format.Channels,
                     level.Format.Coding, sound.LeadingSilence, sound.TrailingSilence,
                     InDecibels(sound.Loudness), sound.bMomentary ? kMomentaryMark : " ",
                     InDecibels(sound.TruePeak), names.DisplayName(level.Sound.File));
}

std::string RemarkOn(const FileLevel& level, const Report& names) {
  const Language lang = names.Lang();
  if (level.State == LevelState::Fine) return "";
  if (level.State == LevelState::Failed) return level.Problem;
  if (level.State == LevelState::Silent) return std::string(kSilent(lang));
  if (level.After) {
    const std::string still =
        level.State == LevelState::Levelled ? "" : Say(kStillOff, lang, level.Target);
    return Say(kWritten, lang, level.Gain, level.After->Loudness.value_or(0),
               level.After->TruePeak) +
           still;
  }
  if (!level.bLimited) return Say(kOff, lang, level.Target, level.Gain);
  return Say(kLimited, lang, level.Target, level.Gain, *level.Before.Loudness + level.Gain);
}

Color ColorOf(LevelState state) {
  switch (state) {
    case LevelState::Fine:
    case LevelState::Levelled:
      return Color::Green;
    case LevelState::Failed:
      return Color::Red;
    default:
      return Color::Yellow;
  }
}

std::string TextOf(const FileLevel& level, const Report& names, bool colored) {
  std::string text = level.Format.Frames > 0 ? RowOf(level, names) : "";
  const std::string remark = RemarkOn(level, names);
  if (!remark.empty()) text += "    " + Painted(remark, ColorOf(level.State), colored) + "\n";
  if (!level.Backup.empty())
    text += "    " + Say(kOriginal, names.Lang(), names.DisplayName(level.Backup)) + "\n";
  return text;
}

bool IsOnTarget(const FileLevel& level) {
  return level.State == LevelState::Fine || level.State == LevelState::Levelled;
}

bool HasFailed(const FileLevel& level) {
  return level.State == LevelState::Failed;
}

Json NumberOrNull(const std::optional<double>& value) {
  return value && std::isfinite(*value) ? Json(std::round(*value * 100) / 100) : Json();
}

Json JsonOf(const Measurement& sound) {
  return {{"loudness", NumberOrNull(sound.Loudness)},
          {"measure", sound.bMomentary ? "momentary" : "integrated"},
          {"truePeak", NumberOrNull(sound.TruePeak)},
          {"leadingSilence", NumberOrNull(sound.LeadingSilence)},
          {"trailingSilence", NumberOrNull(sound.TrailingSilence)}};
}

Json JsonOf(const FileLevel& level, const Report& names) {
  Json json = {{"file", names.DisplayName(level.Sound.File)},
               {"kind", NameOf(level.Sound.Kind)},
               {"state", NameOf(level.State)},
               {"target", NumberOrNull(level.Target)}};
  if (level.Format.Frames > 0) {
    json["seconds"] = NumberOrNull(level.Format.Seconds());
    json["sampleRate"] = level.Format.SampleRate;
    json["channels"] = level.Format.Channels;
    json["coding"] = level.Format.Coding;
    json.update(JsonOf(level.Before));
    json["gain"] = NumberOrNull(level.Gain);
    json["limitedByPeak"] = level.bLimited;
  }
  if (level.After) json["after"] = JsonOf(*level.After);
  if (!level.Backup.empty()) json["backup"] = names.DisplayName(level.Backup);
  if (!level.Problem.empty()) json["problem"] = level.Problem;
  return json;
}

}  // namespace

std::string LevelsAsText(const std::vector<FileLevel>& levels, const Report& names, bool colored) {
  std::string text(kHead(names.Lang()));
  for (const FileLevel& level : levels)
    text += TextOf(level, names, colored);
  const auto onTarget = std::ranges::count_if(levels, IsOnTarget);
  const auto failed = std::ranges::count_if(levels, HasFailed);
  text += kNote(names.Lang());
  return text + Say(kSummary, names.Lang(), levels.size(), onTarget,
                    std::ssize(levels) - onTarget - failed, failed);
}

Json LevelsAsJson(const std::vector<FileLevel>& levels, const LevelGoal& goal,
                  const Report& names) {
  Json files = Json::array();
  for (const FileLevel& level : levels)
    files.push_back(JsonOf(level, names));
  const auto onTarget = std::ranges::count_if(levels, IsOnTarget);
  const auto failed = std::ranges::count_if(levels, HasFailed);
  return {{"files", std::move(files)},
          {"target", goal.Loudness},
          {"peak", goal.Peak},
          {"onTarget", onTarget},
          {"offTarget", std::ssize(levels) - onTarget - failed},
          {"failed", failed}};
}

}  // namespace tools
