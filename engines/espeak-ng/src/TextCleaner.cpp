#include "TextCleaner.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>

namespace engine {
namespace {

constexpr std::string_view kReplacementCharacter = "\xEF\xBF\xBD";
constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
constexpr std::size_t kQuotedBytes = 60;

struct Character {
  std::size_t length;  // in bytes; 0 if the bytes are no character
  char32_t code;
};

constexpr Character kInvalid{0, 0};

bool IsContinuation(char byte) {
  return (static_cast<std::uint8_t>(byte) & 0xC0U) == 0x80U;
}

std::size_t LengthFromLeadByte(std::uint8_t lead) {
  if (lead < 0x80U) return 1;
  if (lead >= 0xC2U && lead <= 0xDFU) return 2;
  if (lead >= 0xE0U && lead <= 0xEFU) return 3;
  if (lead >= 0xF0U && lead <= 0xF4U) return 4;
  return 0;
}

bool IsScalarValueOfLength(char32_t code, std::size_t length) {
  if (length == 3) return code >= 0x800 && (code < 0xD800 || code > 0xDFFF);
  if (length == 4) return code >= 0x10000 && code <= 0x10FFFF;
  return true;
}

// The character at the beginning of `bytes`, which is not empty.
Character ReadCharacter(std::string_view bytes) {
  const auto lead = static_cast<std::uint8_t>(bytes.front());
  const std::size_t length = LengthFromLeadByte(lead);
  if (length == 0 || bytes.size() < length) return kInvalid;
  if (length == 1) return {1, lead};
  const std::string_view rest = bytes.substr(1, length - 1);
  if (!std::ranges::all_of(rest, IsContinuation)) return kInvalid;
  char32_t code = lead & (0xFFU >> (length + 1));
  for (const char byte : rest)
    code = (code << 6U) | (static_cast<std::uint8_t>(byte) & 0x3FU);
  return IsScalarValueOfLength(code, length) ? Character{length, code} : kInvalid;
}

bool IsWhiteSpaceControl(char32_t code) {
  return code >= U'\t' && code <= U'\r';
}

bool IsControl(char32_t code) {
  return code < 0x20 || (code >= 0x7F && code <= 0x9F);
}

void AppendCleaned(std::string& result, std::string_view bytes, Character character) {
  if (character.length == 0) {
    result += kReplacementCharacter;
  } else if (IsWhiteSpaceControl(character.code)) {
    result += ' ';
  } else if (!IsControl(character.code)) {
    result += bytes.substr(0, character.length);
  }
}

}  // namespace

std::string CleanText(std::string_view bytes) {
  if (bytes.starts_with(kByteOrderMark)) bytes.remove_prefix(kByteOrderMark.size());
  std::string result;
  result.reserve(bytes.size());
  while (!bytes.empty()) {
    const Character character = ReadCharacter(bytes);
    AppendCleaned(result, bytes, character);
    bytes.remove_prefix(std::max<std::size_t>(character.length, 1));
  }
  return result;
}

std::string InQuotes(std::string_view text) {
  std::string shown = CleanText(text.substr(0, 4 * kQuotedBytes));
  if (shown.size() > kQuotedBytes) {
    std::size_t end = kQuotedBytes;
    while (IsContinuation(shown[end]))
      --end;
    shown.resize(end);
    shown += "...";
  }
  return "'" + shown + "'";
}

}  // namespace engine
