#include "TagParser.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstddef>
#include <limits>
#include <system_error>
#include <utility>

#include "TextCleaner.h"

namespace engine {
namespace {

constexpr std::string_view kPlay = "play=";
constexpr int kLongestPauseMs = 60000;

bool IsLetter(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

bool IsBlank(char c) {
  return c == ' ';
}

std::string_view Trimmed(std::string_view text) {
  const std::size_t first = text.find_first_not_of(' ');
  if (first == std::string_view::npos) return {};
  return text.substr(first, text.find_last_not_of(' ') - first + 1);
}

// The whole of `text` as a number; one that is too large for long counts as the largest.
bool ToLong(long& number, std::string_view text) {
  if (text.starts_with('+') && !text.starts_with("+-")) text.remove_prefix(1);
  const char* const end = text.data() + text.size();
  const auto [stopped, error] = std::from_chars(text.data(), end, number);
  if (error == std::errc::result_out_of_range) {
    using Limits = std::numeric_limits<long>;
    number = text.starts_with('-') ? Limits::min() : Limits::max();
  }
  return error != std::errc::invalid_argument && stopped == end;
}

}  // namespace

struct TagParser::Tag {
  std::string_view name;
  std::string_view argument;
  std::size_t end;  // index behind the ")"
};

ParsedText TagParser::Parse(std::string_view text, std::string_view defaultVoice) {
  TagParser parser(CleanText(text), defaultVoice);
  parser.Run();
  return std::move(parser.result_);
}

TagParser::TagParser(std::string text, std::string_view defaultVoice) : text_(std::move(text)) {
  settings_.voice = defaultVoice;
}

void TagParser::Run() {
  std::size_t position = 0;
  while (position < text_.size()) {
    const std::size_t backslash = std::min(text_.find('\\', position), text_.size());
    speech_.append(text_, position, backslash - position);
    if (backslash == text_.size()) break;
    position = backslash + 1;
    Tag tag{};
    if (!ReadTag(tag, backslash)) continue;
    tagText_ = std::string_view(text_).substr(backslash, tag.end - backslash);
    Apply(tag);
    position = tag.end;
  }
  FinishSpeech();
}

bool TagParser::ReadTag(Tag& tag, std::size_t backslash) {
  const std::string_view behind = std::string_view(text_).substr(backslash + 1);
  const auto nameEnd = std::ranges::find_if_not(behind, IsLetter);
  const auto nameLength = static_cast<std::size_t>(nameEnd - behind.begin());
  if (nameLength == 0 || behind.front() == 'e') return false;
  if (nameEnd == behind.end() || *nameEnd != '(') return false;
  const std::size_t argument = backslash + 1 + nameLength + 1;
  if (nextParenthesis_ < argument) nextParenthesis_ = text_.find(')', argument);
  if (nextParenthesis_ == std::string::npos) return false;
  tag.name = behind.substr(0, nameLength);
  tag.argument = std::string_view(text_).substr(argument, nextParenthesis_ - argument);
  tag.end = nextParenthesis_ + 1;
  return true;
}

void TagParser::Apply(const Tag& tag) {
  static constexpr std::array<std::pair<std::string_view, Handler>, 6> kHandlers{{
      {"audio", &TagParser::Audio},
      {"voice", &TagParser::Voice},
      {"pause", &TagParser::Pause},
      {"rate", &TagParser::Rate},
      {"pitch", &TagParser::Pitch},
      {"volume", &TagParser::Volume},
  }};
  const auto found = std::ranges::find(kHandlers, tag.name, [](const auto& h) { return h.first; });
  if (found == kHandlers.end()) return WarnSkipped("unknown tag");
  (this->*found->second)(Trimmed(tag.argument));
}

void TagParser::Audio(std::string_view argument) {
  if (!argument.starts_with(kPlay)) return WarnSkipped("'play=FILE' expected");
  const std::string_view path = argument.substr(kPlay.size());
  if (path.empty()) return WarnSkipped("no file name");
  FinishSpeech();
  result_.pieces.emplace_back(AudioPiece{std::string(path)});
}

void TagParser::Voice(std::string_view argument) {
  if (argument.empty()) return WarnSkipped("no voice name");
  if (argument == settings_.voice) return;
  FinishSpeech();
  settings_.voice = argument;
}

void TagParser::Pause(std::string_view argument) {
  int milliseconds = 0;
  if (!ReadNumber(milliseconds, argument, 0, kLongestPauseMs)) return;
  FinishSpeech();
  result_.pieces.emplace_back(PausePiece{std::chrono::milliseconds(milliseconds)});
}

void TagParser::Rate(std::string_view argument) {
  int value = 0;
  if (ReadNumber(value, argument, 80, 450)) Set(&SpeechSettings::rateWordsPerMinute, value);
}

void TagParser::Pitch(std::string_view argument) {
  int value = 0;
  if (ReadNumber(value, argument, 0, 99)) Set(&SpeechSettings::pitch, value);
}

void TagParser::Volume(std::string_view argument) {
  int value = 0;
  if (ReadNumber(value, argument, 0, 200)) Set(&SpeechSettings::volume, value);
}

void TagParser::Set(int SpeechSettings::*setting, int value) {
  if (settings_.*setting == value) return;
  FinishSpeech();
  settings_.*setting = value;
}

void TagParser::FinishSpeech() {
  if (!std::ranges::all_of(speech_, IsBlank)) {
    result_.pieces.emplace_back(SpeechPiece{speech_, settings_});
  }
  speech_.clear();
}

bool TagParser::ReadNumber(int& number, std::string_view argument, int lowest, int highest) {
  long value = 0;
  if (!ToLong(value, argument)) {
    WarnSkipped("a whole number expected");
    return false;
  }
  number = static_cast<int>(std::clamp<long>(value, lowest, highest));
  if (number != value) {
    result_.warnings.push_back(InQuotes(tagText_) + " is not within " + std::to_string(lowest) +
                               " and " + std::to_string(highest) + ", taken as " +
                               std::to_string(number));
  }
  return true;
}

void TagParser::WarnSkipped(std::string_view reason) {
  result_.warnings.push_back(InQuotes(tagText_) + " skipped: " + std::string(reason));
}

}  // namespace engine
