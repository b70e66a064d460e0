#include "check/suggestions.h"

#include <algorithm>
#include <cctype>
#include <numeric>
#include <utility>
#include <vector>

namespace tools {

namespace {

constexpr Bilingual kQuestion = {"; ist \"{0}\" gemeint?", "; did you mean \"{0}\"?"};

/// Keeps a document full of unknown words from taking seconds.
constexpr std::size_t kMostComparisons = 50'000;

std::string InSmallLetters(std::string_view word) {
  std::string small(word);
  std::transform(small.begin(), small.end(), small.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return small;
}

/// A third of a word may be wrong. Of one or two letters nothing is left then.
std::size_t LimitFor(std::string_view word) {
  return word.size() / 3;
}

}  // namespace

std::size_t EditDistance(std::string_view a, std::string_view b, std::size_t limit) {
  if (std::max(a.size(), b.size()) - std::min(a.size(), b.size()) > limit) return limit + 1;
  std::vector<std::size_t> beforeLast;
  std::vector<std::size_t> last;
  std::vector<std::size_t> row(b.size() + 1);
  std::iota(row.begin(), row.end(), std::size_t{0});
  for (std::size_t i = 1; i <= a.size(); ++i) {
    beforeLast = std::exchange(last, row);
    row[0] = i;
    for (std::size_t j = 1; j <= b.size(); ++j) {
      const std::size_t changed = last[j - 1] + (a[i - 1] == b[j - 1] ? 0 : 1);
      row[j] = std::min({changed, last[j] + 1, row[j - 1] + 1});
      const bool swapped = i > 1 && j > 1 && a[i - 1] == b[j - 2] && a[i - 2] == b[j - 1];
      if (swapped) row[j] = std::min(row[j], beforeLast[j - 2] + 1);
    }
    // The rows only grow from here, but by a swap the next may start from the one before.
    if (*std::min_element(row.begin(), row.end()) > limit + 1) return limit + 1;
  }
  return std::min(row.back(), limit + 1);
}

std::string Suggestions::ClosestTo(std::string_view word) {
  const std::string wanted = InSmallLetters(word);
  std::size_t best = LimitFor(wanted) + 1;
  std::string closest;
  if (wanted.empty()) return closest;
  for (const std::string& candidate : words_) {
    if (candidate.empty()) continue;
    if (++comparisons_ > kMostComparisons) return "";
    const std::size_t distance = EditDistance(wanted, InSmallLetters(candidate), best);
    if (distance >= best) continue;
    best = distance;
    closest = candidate;
  }
  return closest;
}

std::string Suggestions::Question(std::string_view word, Language language) {
  const std::string closest = ClosestTo(word);
  return closest.empty() ? "" : Say(kQuestion, language, closest);
}

}  // namespace tools
