#include "check/suggestions.h"

#include <algorithm>
#include <cctype>
#include <numeric>
#include <vector>

namespace tools {

namespace {

constexpr Bilingual kQuestion = {"; ist \"{0}\" gemeint?", "; did you mean \"{0}\"?"};

/// Keeps a document full of unknown words from taking seconds.
constexpr std::size_t kMostComparisons = 200'000;

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
  std::vector<std::size_t> row(b.size() + 1);
  std::iota(row.begin(), row.end(), std::size_t{0});
  for (std::size_t i = 0; i < a.size(); ++i) {
    std::size_t diagonal = row[0]++;
    for (std::size_t j = 0; j < b.size(); ++j) {
      const std::size_t changed = diagonal + (a[i] == b[j] ? 0 : 1);
      diagonal = row[j + 1];
      row[j + 1] = std::min({changed, row[j] + 1, row[j + 1] + 1});
    }
  }
  return std::min(row.back(), limit + 1);
}

std::string Suggestions::ClosestTo(std::string_view word) {
  const std::string wanted = InSmallLetters(word);
  std::size_t best = LimitFor(wanted) + 1;
  std::string closest;
  if (wanted.empty()) return closest;
  for (const std::string& candidate : words_) {
    if (candidate.empty() || comparisons_ > kMostComparisons) continue;
    ++comparisons_;
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
