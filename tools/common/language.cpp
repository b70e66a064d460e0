#include "common/language.h"

#include <cstdlib>

namespace tools {

namespace {

/// The first of the variables that is set and not empty counts, as for every other program.
std::string_view MessageLocale() {
  for (const char* name : {"LC_ALL", "LC_MESSAGES", "LANG"}) {
    const char* value = std::getenv(name);
    if (value != nullptr && *value != '\0') return value;
  }
  return "";
}

}  // namespace

Language EnvironmentLanguage() {
  return MessageLocale().starts_with("de") ? Language::German : Language::English;
}

}  // namespace tools
