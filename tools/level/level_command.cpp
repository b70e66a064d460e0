#include "level/level_command.h"

#include <algorithm>
#include <charconv>
#include <filesystem>
#include <map>
#include <memory>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <system_error>
#include <vector>

#include "common/station.h"
#include "level/level_report.h"
#include "level/levelling.h"

namespace tools {

namespace {

namespace fs = std::filesystem;

constexpr Bilingual kDescription = {
    "misst die Lautheit von Klängen, Klingel und vorbereiteten Phrasen und gleicht sie an",
    "measures the loudness of sounds, bell and prepared phrases, and levels it"};
constexpr Bilingual kFiles = {"nur diese Dateien (sonst: alle der Station)",
                              "these files only (default: all of the station)"};
constexpr Bilingual kTarget = {"Lautheit in LUFS, -50 bis -10 (sonst: -23)",
                               "loudness in LUFS, -50 to -10 (default: -23)"};
constexpr Bilingual kPeak = {"höchste wahre Spitze in dBTP, -20 bis 0 (sonst: -1)",
                             "highest true peak in dBTP, -20 to 0 (default: -1)"};
constexpr Bilingual kOffset = {
    "lauter oder leiser als das Ziel, in LU: sound=LU, bell=LU oder speech=LU; mehrfach erlaubt",
    "louder or softer than the target, in LU: sound=LU, bell=LU or speech=LU; may be repeated"};
constexpr Bilingual kWrite = {"schreibt, was neben dem Ziel ist; das Original wird gesichert",
                              "writes what is off its target; keeps the original as a backup"};
constexpr Bilingual kBackup = {
    "Verzeichnis der Originale (sonst: state/backup der Station, oder FILE.orig)",
    "directory of the originals (default: the station's state/backup, or FILE.orig)"};
constexpr Bilingual kBadOffset = {"--offset nimmt sound=LU, bell=LU oder speech=LU, nicht \"{0}\"",
                                  "--offset takes sound=LU, bell=LU or speech=LU, not \"{0}\""};

constexpr Bilingual kBadNumber = {"eine Zahl von {0} bis {1} erwartet, nicht \"{2}\"",
                                  "a number from {0} to {1} expected, not \"{2}\""};

constexpr double kLowestTarget = -50;
constexpr double kHighestTarget = -10;
constexpr double kLowestPeak = -20;
constexpr double kMostOffset = 30;

struct LevelOptions {
  std::vector<fs::path> Files;
  LevelGoal Goal;
  std::vector<std::string> Offsets;
  bool bWrite = false;
  fs::path Backup;
};

std::optional<SoundKind> KindOf(std::string_view name) {
  const auto* kind =
      std::ranges::find(kSoundKinds, name, [](SoundKind candidate) { return NameOf(candidate); });
  if (kind == kSoundKinds.end()) return std::nullopt;
  return *kind;
}

/// A number with an optional sign, none if the text is something else or out of range.
std::optional<double> NumberIn(std::string_view text, double lowest, double highest) {
  if (text.starts_with('+') && !text.starts_with("+-")) text.remove_prefix(1);
  double value = 0;
  const char* const end = text.data() + text.size();
  const auto [stopped, error] = std::from_chars(text.data(), end, value, std::chars_format::fixed);
  const bool isNumber = error == std::errc() && stopped == end;
  // Not "value is out of range", which would let a value pass that is no number.
  if (!isNumber || !(value >= lowest && value <= highest)) return std::nullopt;
  return value;
}

/// Reads "KIND=LU". False if it makes no sense.
bool ReadOffset(std::string_view text, std::map<SoundKind, double>& offsets) {
  const std::size_t equals = text.find('=');
  if (equals == std::string_view::npos) return false;
  const std::optional<SoundKind> kind = KindOf(text.substr(0, equals));
  const std::optional<double> units = NumberIn(text.substr(equals + 1), -kMostOffset, kMostOffset);
  if (!kind || !units) return false;
  offsets[*kind] = *units;
  return true;
}

CLI::Validator IsNumberIn(double lowest, double highest, Language language) {
  const auto problem = [=](const std::string& text) {
    return NumberIn(text, lowest, highest) ? std::string()
                                           : Say(kBadNumber, language, lowest, highest, text);
  };
  return {problem, ""};
}

/// What the command line asks for, on a station or on files alone.
class LevelRun {
 public:
  LevelRun(const LevelOptions& options, Context& context)
      : options_(options), context_(context), goal_(options.Goal) {
    // Files may be levelled without a station; then they are sounds.
    const fs::path config = context.StationDir / "kaconfig/kaTtsServer.kacfg";
    if (options.Files.empty() || fs::exists(config)) station_.emplace(context.StationDir);
    for (const std::string& offset : options.Offsets)
      ReadOffset(offset, goal_.Offsets);
  }

  void Run() {
    const Report names(context_.Lang, station_ ? station_->Root() : "");
    std::vector<FileLevel> levels;
    for (const StationSound& sound : Sounds()) {
      FileLevel level = Examine(sound, goal_, context_.Lang);
      if (options_.bWrite) Write(level, BackupOf(sound.File), goal_, context_.Lang);
      levels.push_back(std::move(level));
    }
    Print(context_.bJson ? LevelsAsJson(levels, goal_, names).dump(2) + "\n"
                         : LevelsAsText(levels, names, context_.UsesColor()));
    context_.Status = StatusOf(levels);
  }

 private:
  std::vector<StationSound> Sounds() const {
    std::vector<StationSound> known = station_ ? SoundsOf(*station_) : std::vector<StationSound>{};
    if (options_.Files.empty()) return known;
    std::vector<StationSound> named;
    for (const fs::path& file : options_.Files) {
      const auto same = std::ranges::find_if(known, [&file](const StationSound& sound) {
        std::error_code missing;
        return fs::equivalent(sound.File, file, missing);
      });
      named.push_back(same != known.end()
                          ? *same
                          : StationSound{SoundKind::Sound, fs::absolute(file).lexically_normal()});
    }
    return named;
  }

  /// Where the original of a file is kept. In a directory for all, files keep their own
  /// directories' names.
  fs::path BackupOf(const fs::path& file) const {
    const fs::path directory = BackupDirectory();
    if (directory.empty()) return file.string() + ".orig";
    const fs::path inStation = station_ ? file.lexically_relative(station_->Root()) : fs::path();
    const bool bBelow = !inStation.empty() && *inStation.begin() != "..";
    return directory / (bBelow ? inStation : file.relative_path());
  }

  /// "" if the originals stay beside their files.
  fs::path BackupDirectory() const {
    if (!options_.Backup.empty()) return fs::absolute(options_.Backup);
    if (!station_) return {};
    const fs::path state = fs::path(station_->Root()) / "state";
    std::error_code missing;
    return fs::is_directory(state, missing) ? state / "backup" : fs::path();
  }

  static int StatusOf(const std::vector<FileLevel>& levels) {
    int status = 0;
    for (const FileLevel& level : levels) {
      if (level.State == LevelState::Failed) return 2;
      if (level.State != LevelState::Fine && level.State != LevelState::Levelled) status = 1;
    }
    return status;
  }

  const LevelOptions& options_;
  Context& context_;
  LevelGoal goal_;
  std::optional<Station> station_;
};

}  // namespace

CLI::App* AddLevelCommand(CLI::App& app, Context& context) {
  const Language lang = context.Lang;
  CLI::App* command = app.add_subcommand("level", std::string(kDescription(lang)));
  AddCommonOptions(*command, context);
  const auto options = std::make_shared<LevelOptions>();
  command->add_option("FILE", options->Files, std::string(kFiles(lang)))->type_name("");
  command->add_option("--target", options->Goal.Loudness, std::string(kTarget(lang)))
      ->type_name("LUFS")
      ->check(IsNumberIn(kLowestTarget, kHighestTarget, lang));
  command->add_option("--peak", options->Goal.Peak, std::string(kPeak(lang)))
      ->type_name("DBTP")
      ->check(IsNumberIn(kLowestPeak, 0, lang));
  const auto isOffset = [lang](const std::string& text) {
    std::map<SoundKind, double> ignored;
    return ReadOffset(text, ignored) ? std::string() : Say(kBadOffset, lang, text);
  };
  command->add_option("--offset", options->Offsets, std::string(kOffset(lang)))
      ->type_name("KIND=LU")
      ->allow_extra_args(false)
      ->check(CLI::Validator(isOffset, ""));
  CLI::Option* write = command->add_flag("--write", options->bWrite, std::string(kWrite(lang)));
  command->add_option("--backup", options->Backup, std::string(kBackup(lang)))
      ->type_name("DIR")
      ->needs(write);
  command->callback([options, &context] { LevelRun(*options, context).Run(); });
  return command;
}

}  // namespace tools
