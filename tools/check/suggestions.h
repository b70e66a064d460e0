#ifndef KA_TOOLS_SUGGESTIONS_H
#define KA_TOOLS_SUGGESTIONS_H

#include <cstddef>
#include <set>
#include <string>
#include <string_view>

#include "common/language.h"

namespace tools {

/// Least number of letters to add, drop or change that make one word of the other; `limit` + 1 if
/// it is more than `limit`.
std::size_t EditDistance(std::string_view a, std::string_view b, std::size_t limit);

/// Finds what an author may have meant by an unknown word.
class Suggestions {
 public:
  explicit Suggestions(std::set<std::string> words) : words_(std::move(words)) {}

  bool Has(const std::string& word) const { return words_.contains(word); }
  /// The word most like `word`, "" if none is like it. Upper and lower case make no difference.
  /// After many thousands of comparisons nothing is suggested any more.
  std::string ClosestTo(std::string_view word);
  /// A question to append to a sentence: `; did you mean "x"?`, or "" if no word is like it.
  std::string Question(std::string_view word, Language language);

 private:
  std::set<std::string> words_;
  std::size_t comparisons_ = 0;
};

}  // namespace tools

#endif
