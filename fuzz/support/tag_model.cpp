#include "support/tag_model.h"

#include <algorithm>
#include <cstdint>
#include <optional>

namespace model {

namespace {

std::uint32_t Byte(const std::string& text, std::size_t i) {
  return static_cast<std::uint8_t>(text[i]);
}

/// Bytes of the well-formed character at `i`, 0 if there is none; its code goes to `code`.
std::size_t CharacterAt(const std::string& text, std::size_t i, std::uint32_t& code) {
  struct Row {
    std::uint32_t first, last, mask, lowest, highest;
    std::size_t length;
  };
  static constexpr Row kRows[] = {{0x00, 0x7F, 0x7F, 0, 0x7F, 1},
                                  {0xC0, 0xDF, 0x1F, 0x80, 0x7FF, 2},
                                  {0xE0, 0xEF, 0x0F, 0x800, 0xFFFF, 3},
                                  {0xF0, 0xF7, 0x07, 0x10000, 0x10FFFF, 4}};
  for (const Row& row : kRows) {
    if (Byte(text, i) < row.first || Byte(text, i) > row.last) continue;
    if (i + row.length > text.size()) return 0;
    code = Byte(text, i) & row.mask;
    for (std::size_t k = 1; k < row.length; ++k) {
      if ((Byte(text, i + k) & 0xC0U) != 0x80U) return 0;
      code = code * 64 + (Byte(text, i + k) & 0x3FU);
    }
    const bool isSurrogate = code >= 0xD800 && code <= 0xDFFF;
    return code >= row.lowest && code <= row.highest && !isSurrogate ? row.length : 0;
  }
  return 0;
}

bool IsLetter(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}

std::string WithoutOuterBlanks(std::string text) {
  while (!text.empty() && text.front() == ' ')
    text.erase(0, 1);
  while (!text.empty() && text.back() == ' ')
    text.pop_back();
  return text;
}

/// A whole number, held within 9 digits; nothing if the text is none.
std::optional<long> WholeNumber(std::string text) {
  const bool negative = !text.empty() && text[0] == '-';
  if (!text.empty() && (text[0] == '-' || text[0] == '+')) text.erase(0, 1);
  if (text.empty()) return std::nullopt;
  long number = 0;
  for (const char c : text) {
    if (c < '0' || c > '9') return std::nullopt;
    number = std::min(number * 10 + (c - '0'), 999999999L);
  }
  return negative ? -number : number;
}

class Reader {
 public:
  Reader(std::string text, const std::string& voice) : text_(std::move(text)) {
    settings_.voice = voice;
  }

  SpokenText Read() {
    while (at_ < text_.size()) {
      if (text_[at_] != '\\') {
        speech_ += text_[at_++];
      } else if (!ReadTag()) {
        ++at_;
      }
    }
    EndSpeech();
    return result_;
  }

 private:
  /// Takes the tag at the backslash; false if there is none.
  bool ReadTag() {
    std::string name;
    std::size_t i = at_ + 1;
    for (; i < text_.size() && IsLetter(text_[i]); ++i)
      name += text_[i];
    if (name.empty() || name[0] == 'e' || i == text_.size() || text_[i] != '(') return false;
    const std::size_t end = text_.find(')', i);
    if (end == std::string::npos) return false;
    if (!Obey(name, WithoutOuterBlanks(text_.substr(i + 1, end - i - 1)))) ++result_.Warnings;
    at_ = end + 1;
    return true;
  }

  /// False if there is something to complain about.
  bool Obey(const std::string& name, const std::string& argument) {
    if (name == "audio") return Play(argument);
    if (name == "voice") return Speak(argument);
    if (name == "pause") return Pause(argument);
    if (name == "rate") return Set(settings_.rateWordsPerMinute, argument, 80, 450);
    if (name == "pitch") return Set(settings_.pitch, argument, 0, 99);
    if (name == "volume") return Set(settings_.volume, argument, 0, 200);
    return false;
  }

  bool Play(const std::string& argument) {
    if (argument.substr(0, 5) != "play=" || argument.size() == 5) return false;
    EndSpeech();
    result_.Pieces.emplace_back(engine::AudioPiece{argument.substr(5)});
    return true;
  }

  bool Speak(const std::string& argument) {
    if (argument.empty()) return false;
    if (argument != settings_.voice) EndSpeech();
    settings_.voice = argument;
    return true;
  }

  bool Pause(const std::string& argument) {
    int length = 0;
    const bool good = Clamp(length, argument, 0, 60000);
    if (!WholeNumber(argument)) return false;
    EndSpeech();
    result_.Pieces.emplace_back(engine::PausePiece{std::chrono::milliseconds(length)});
    return good;
  }

  bool Set(int& setting, const std::string& argument, long lowest, long highest) {
    int value = setting;
    const bool good = Clamp(value, argument, lowest, highest);
    if (value != setting) EndSpeech();
    setting = value;
    return good;
  }

  static bool Clamp(int& value, const std::string& argument, long lowest, long highest) {
    const std::optional<long> number = WholeNumber(argument);
    if (!number) return false;
    value = static_cast<int>(std::min(std::max(*number, lowest), highest));
    return value == *number;
  }

  void EndSpeech() {
    if (!WithoutOuterBlanks(speech_).empty()) {
      result_.Pieces.emplace_back(engine::SpeechPiece{speech_, settings_});
    }
    speech_.clear();
  }

  std::string text_;
  std::size_t at_ = 0;
  std::string speech_;
  engine::SpeechSettings settings_;
  SpokenText result_;
};

}  // namespace

std::string CleanedText(const std::string& bytes) {
  std::string text;
  std::size_t i = bytes.substr(0, 3) == "\xEF\xBB\xBF" ? 3 : 0;
  while (i < bytes.size()) {
    std::uint32_t code = 0;
    const std::size_t length = CharacterAt(bytes, i, code);
    if (length == 0) {
      text += "\xEF\xBF\xBD";
    } else if (code >= 9 && code <= 13) {
      text += ' ';
    } else if (code >= 32 && (code < 0x7F || code > 0x9F)) {
      text += bytes.substr(i, length);
    }
    i += std::max<std::size_t>(length, 1);
  }
  return text;
}

SpokenText ReadTags(const std::string& bytes, const std::string& voice) {
  return Reader(CleanedText(bytes), voice).Read();
}

}  // namespace model
