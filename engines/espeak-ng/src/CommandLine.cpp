#include "CommandLine.h"

#include <charconv>
#include <cstddef>
#include <optional>
#include <string_view>
#include <utility>

#include "TextCleaner.h"

namespace engine {
namespace {

constexpr int kLongestTimeLimitSeconds = 3600;
constexpr double kLowestLevelLufs = -50;
constexpr double kHighestLevelLufs = -10;

using Arguments = std::span<const char* const>;

// Takes the options off the front of the arguments.
class OptionReader {
 public:
  explicit OptionReader(Arguments arguments) : rest_(arguments) {}

  /// The next option, or none when only operands are left.
  std::optional<std::string_view> Next() {
    if (rest_.empty()) return std::nullopt;
    const std::string_view argument = rest_.front();
    if (!argument.starts_with('-') || argument == "-") return std::nullopt;
    rest_ = rest_.subspan(1);
    if (argument == "--") return std::nullopt;
    const std::size_t equals = argument.find('=');
    if (equals != std::string_view::npos) value_ = argument.substr(equals + 1);
    return argument.substr(0, equals);
  }

  /// The value of the option read last: "--name=VALUE" or "--name VALUE".
  std::string_view Value(std::string_view option) {
    if (value_) return *std::exchange(value_, std::nullopt);
    if (rest_.empty()) throw UsageError("option " + std::string(option) + " needs a value");
    const std::string_view value = rest_.front();
    rest_ = rest_.subspan(1);
    return value;
  }

  void RefuseValue(std::string_view option) const {
    if (value_) throw UsageError("option " + std::string(option) + " takes no value");
  }

  Arguments Operands() const { return rest_; }

 private:
  Arguments rest_;
  std::optional<std::string_view> value_;
};

std::chrono::seconds ReadTimeLimit(std::string_view value) {
  int seconds = 0;
  const char* const end = value.data() + value.size();
  const auto [stopped, error] = std::from_chars(value.data(), end, seconds);
  const bool isWholeNumber = error == std::errc() && stopped == end;
  if (!isWholeNumber || seconds < 1 || seconds > kLongestTimeLimitSeconds) {
    throw UsageError("--time-limit takes 1 to 3600 seconds, not " + InQuotes(value));
  }
  return std::chrono::seconds(seconds);
}

std::optional<double> ReadLevel(std::string_view value) {
  if (value == "off") return std::nullopt;
  double lufs = 0;
  const char* const end = value.data() + value.size();
  const auto [stopped, error] = std::from_chars(value.data(), end, lufs, std::chars_format::fixed);
  const bool isNumber = error == std::errc() && stopped == end;
  if (!isNumber || !(lufs >= kLowestLevelLufs && lufs <= kHighestLevelLufs)) {
    throw UsageError("--level takes -50 to -10 LUFS or off, not " + InQuotes(value));
  }
  return lufs;
}

std::string ReadVoice(std::string_view value) {
  if (value.empty()) throw UsageError("--voice needs a name");
  return std::string(value);
}

void ApplyFlag(CommandLine& line, std::string_view option) {
  if (option == "--discard-on-failure") {
    line.discardOnFailure = true;
  } else if (option == "--help") {
    line.action = CommandLine::Action::ShowHelp;
  } else if (option == "--version") {
    line.action = CommandLine::Action::ShowVersion;
  } else {
    throw UsageError("unknown option " + InQuotes(option) + " (\"--\" goes before a text)");
  }
}

void ApplyOption(CommandLine& line, std::string_view option, OptionReader& reader) {
  if (option == "--voice") {
    line.voice = ReadVoice(reader.Value(option));
  } else if (option == "--level") {
    line.level = ReadLevel(reader.Value(option));
  } else if (option == "--time-limit") {
    line.timeLimit = ReadTimeLimit(reader.Value(option));
  } else {
    ApplyFlag(line, option);
    reader.RefuseValue(option);
  }
}

void ApplyOperands(CommandLine& line, Arguments operands) {
  if (operands.size() == 1) {
    line.text = operands[0];
  } else if (operands.size() == 2) {
    line.action = CommandLine::Action::Save;
    line.textFile = operands[0];
    line.wavFile = operands[1];
  } else {
    throw UsageError("a text, or a text file and a .wav file expected, not " +
                     std::to_string(operands.size()) + " arguments");
  }
}

}  // namespace

CommandLine CommandLine::Parse(std::span<const char* const> arguments) {
  CommandLine line;
  OptionReader reader(arguments);
  while (const std::optional<std::string_view> option = reader.Next()) {
    ApplyOption(line, *option, reader);
  }
  if (line.action == Action::Speak) ApplyOperands(line, reader.Operands());
  return line;
}

std::string CommandLine::Help() {
  return R"(Usage: ka-espeak-ng [options] -- TEXT               speak TEXT through aplay
       ka-espeak-ng [options] -- TEXTFILE WAVFILE   save the text in TEXTFILE as WAVFILE

Options:
  --voice NAME            espeak-ng voice of texts that name none, e.g. de or en-gb+f3 (default: en)
  --level LUFS            loudness of speech, -50 to -10, or off for espeak-ng's own (default: -23)
  --discard-on-failure    when saving fails, remove the old WAVFILE, and TEXTFILE unless it ends
                          in ".txt"
  --time-limit SECONDS    saving fails after this time (1 to 3600, default: 20)
  --help, --version

Tags in a text:
  \audio(play=FILE)  \voice(NAME)  \pause(MS)  \rate(WPM)  \pitch(0..99)  \volume(0..200)

Exit status: 0 done, 1 failed, 2 wrong usage, 3 the player was stopped, 128+N ended by signal N.
)";
}

}  // namespace engine
