#ifndef KA_TOOLS_LANGUAGE_H
#define KA_TOOLS_LANGUAGE_H

#include <fmt/format.h>

#include <string>
#include <string_view>

namespace tools {

/// A language in which the tools speak to people.
enum class Language { German, English };

/// A text for people. It may be a format string; placeholders are numbered, so that each language
/// can have its own order.
struct Bilingual {
  std::string_view German;
  std::string_view English;

  constexpr std::string_view operator()(Language language) const {
    return language == Language::German ? German : English;
  }
};

/// The language of the environment, by LC_ALL, LC_MESSAGES and LANG: German for "de...", English
/// for everything else.
Language EnvironmentLanguage();

/// `text` in a language, with its placeholders filled in.
/// \throws fmt::format_error if the text has other placeholders than there are arguments.
template <class... Args>
std::string Say(const Bilingual& text, Language language, const Args&... args) {
  return fmt::format(fmt::runtime(text(language)), args...);
}

}  // namespace tools

#endif
