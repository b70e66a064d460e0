#ifndef KA_TOOLS_VISIBLE_H
#define KA_TOOLS_VISIBLE_H

#include <string>
#include <string_view>

namespace tools {

/// `text` on one line: each control character as its picture ("␛" for escape, "␊" for a line end).
/// All other bytes stay as they are.
std::string Visible(std::string_view text);

/// The same between double quotes.
std::string Quoted(std::string_view text);

/// Whether `text` is well-formed UTF-8.
bool IsUtf8(std::string_view text);

/// The bytes of `text` as hexadecimal digits.
std::string HexOf(std::string_view text);

}  // namespace tools

#endif
