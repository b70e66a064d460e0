#include "common/terminal.h"

#include <unistd.h>

#include <cstdlib>

namespace tools {

namespace {

bool IsSet(const char* variable) {
  const char* value = std::getenv(variable);
  return value != nullptr && *value != '\0';
}

bool IsDumbTerminal() {
  const char* terminal = std::getenv("TERM");
  return terminal == nullptr || std::string_view(terminal) == "dumb";
}

std::string_view SequenceOf(Color color) {
  switch (color) {
    case Color::Bold:
      return "\x1b[1m";
    case Color::Red:
      return "\x1b[1;31m";
    case Color::Green:
      return "\x1b[32m";
    case Color::Yellow:
      return "\x1b[1;33m";
    case Color::Blue:
      return "\x1b[1;34m";
    case Color::Dim:
      return "\x1b[2m";
  }
  return "";
}

}  // namespace

bool UsesColor(ColorMode mode, int descriptor) {
  if (mode != ColorMode::Auto) return mode == ColorMode::Always;
  return !IsSet("NO_COLOR") && !IsDumbTerminal() && isatty(descriptor) != 0;
}

std::string Painted(std::string_view text, Color color, bool colored) {
  if (!colored) return std::string(text);
  return std::string(SequenceOf(color)).append(text).append("\x1b[0m");
}

}  // namespace tools
