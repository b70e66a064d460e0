#include "preview/visible.h"

#include <fmt/format.h>

#include <nlohmann/json.hpp>

namespace tools {

namespace {

constexpr unsigned char kDelete = 0x7F;

/// The picture of a control character: U+2400 and on, in UTF-8.
std::string Picture(unsigned char control) {
  const unsigned char last = control == kDelete ? 0x21 : control;
  return {'\xE2', '\x90', static_cast<char>(0x80 + last)};
}

}  // namespace

std::string Visible(std::string_view text) {
  std::string visible;
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    const bool isControl = byte < ' ' || byte == kDelete;
    visible += isControl ? Picture(byte) : std::string(1, c);
  }
  return visible;
}

std::string Quoted(std::string_view text) {
  return '"' + Visible(text) + '"';
}

bool IsUtf8(std::string_view text) {
  try {
    static_cast<void>(nlohmann::json(text).dump());
    return true;
  } catch (const nlohmann::json::type_error&) {
    return false;
  }
}

std::string HexOf(std::string_view text) {
  std::string digits;
  for (const char c : text)
    digits += fmt::format("{:02x}", static_cast<unsigned char>(c));
  return digits;
}

}  // namespace tools
