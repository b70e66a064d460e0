#include "level/levelling.h"

#include <sys/stat.h>

#include <algorithm>
#include <cmath>
#include <ctime>
#include <new>

#include "common/cannot_run.h"
#include "common/replacement.h"

namespace tools {

namespace {

namespace fs = std::filesystem;

/// A gain that the peak limits keeps this much away from it, for the rounding of samples. A peak
/// that is higher than the limit by less is no reason to write a file.
constexpr double kPeakMargin = 0.1;

/// Nobody hears less gain than this.
constexpr double kLeastGain = 0.1;

bool IsOffLoudness(const Measurement& sound, double target) {
  return std::abs(*sound.Loudness - target) > kLoudnessTolerance;
}

bool IsOffPeak(const Measurement& sound, const LevelGoal& goal) {
  return sound.TruePeak > goal.Peak + kPeakMargin;
}

/// Sets state, gain and limit by what was measured.
void Judge(FileLevel& level, const LevelGoal& goal) {
  if (!level.Before.Loudness) {
    level.State = LevelState::Silent;
    return;
  }
  if (!IsOffLoudness(level.Before, level.Target) && !IsOffPeak(level.Before, goal)) return;
  const double wanted = level.Target - *level.Before.Loudness;
  const double allowed = goal.Peak - kPeakMargin - level.Before.TruePeak;
  level.Gain = std::min(wanted, allowed);
  level.bLimited = allowed < wanted - kLoudnessTolerance;
  level.State = level.bLimited ? LevelState::Limited : LevelState::Off;
}

bool IsBefore(const timespec& a, const timespec& b) {
  return a.tv_sec != b.tv_sec ? a.tv_sec < b.tv_sec : a.tv_nsec < b.tv_nsec;
}

/// The text of a prepared phrase is beside it. A phrase that is older than its text is outdated,
/// and is found by that: levelling makes no phrase outdated, and none up to date.
void KeepAgeAgainstText(const fs::path& file, const Replacement& replacement) {
  struct stat sound {};
  struct stat text {};
  if (::stat(file.c_str(), &sound) != 0) return;
  if (::stat(fs::path(file).replace_extension(".txt").c_str(), &text) != 0) return;
  timespec now{};
  ::clock_gettime(CLOCK_REALTIME, &now);
  if (IsBefore(sound.st_mtim, text.st_mtim)) {
    replacement.SetTime(sound.st_mtim);
  } else if (IsBefore(now, text.st_mtim)) {
    replacement.SetTime(text.st_mtim);
  }
}

void Fail(FileLevel& level, const CannotRun& failure, Language language) {
  level.State = LevelState::Failed;
  level.Problem = failure.Message(language);
}

}  // namespace

double LevelGoal::LoudnessOf(SoundKind kind) const {
  const auto offset = Offsets.find(kind);
  return Loudness + (offset == Offsets.end() ? 0 : offset->second);
}

std::string_view NameOf(LevelState state) {
  switch (state) {
    case LevelState::Fine:
      return "fine";
    case LevelState::Off:
      return "off";
    case LevelState::Limited:
      return "limited";
    case LevelState::Levelled:
      return "levelled";
    case LevelState::Silent:
      return "silent";
    case LevelState::Failed:
      return "failed";
  }
  return "";
}

FileLevel Examine(const StationSound& sound, const LevelGoal& goal, Language language) {
  FileLevel level;
  level.Sound = sound;
  level.Target = goal.LoudnessOf(sound.Kind);
  try {
    AudioFile file(sound.File);
    level.Format = file.Format();
    level.Before = file.Measure();
    Judge(level, goal);
  } catch (const CannotRun& failure) {
    Fail(level, failure, language);
  }
  return level;
}

void Write(FileLevel& level, const fs::path& backup, const LevelGoal& goal, Language language) {
  if (std::abs(level.Gain) < kLeastGain) return;
  const fs::path& file = level.Sound.File;
  try {
    Replacement replacement(file);
    AudioFile(file).CopyTo(replacement.Descriptor(), std::pow(10, level.Gain / 20));
    level.After = AudioFile(replacement.DraftFile()).Measure();
    if (level.Sound.Kind == SoundKind::Speech) KeepAgeAgainstText(file, replacement);
    KeepOriginal(file, backup);
    level.Backup = backup;
    replacement.Commit();
  } catch (const CannotRun& failure) {
    level.After.reset();
    Fail(level, failure, language);
    return;
  }
  const bool bReached = level.After->Loudness && !IsOffLoudness(*level.After, level.Target);
  if (bReached && !IsOffPeak(*level.After, goal)) level.State = LevelState::Levelled;
}

}  // namespace tools
