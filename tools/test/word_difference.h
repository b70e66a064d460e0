#ifndef KA_TOOLS_WORD_DIFFERENCE_H
#define KA_TOOLS_WORD_DIFFERENCE_H

#include <string>
#include <string_view>

namespace tools {

/// Both texts in one line, words that differ marked: "Gleis [-7-]{+8+}, heute". Control characters
/// are shown by their pictures.
std::string WordDifference(std::string_view expected, std::string_view present, bool colored);

}  // namespace tools

#endif
