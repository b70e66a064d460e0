#ifndef KA_ENGINE_TEXT_CLEANER_H
#define KA_ENGINE_TEXT_CLEANER_H

// Makes arbitrary bytes a text that can be parsed, spoken and printed.

#include <string>
#include <string_view>

namespace engine {

/// Valid UTF-8 without control characters: each invalid byte becomes U+FFFD (which espeak-ng does
/// not speak), tabs and line ends become blanks, every other control character and a byte order
/// mark at the beginning are dropped.
std::string CleanText(std::string_view bytes);

/// `text` in single quotes, cleaned, and shortened to some 60 bytes: for messages of one line.
std::string InQuotes(std::string_view text);

}  // namespace engine

#endif
