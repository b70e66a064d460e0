#include "test/word_difference.h"

#include <algorithm>
#include <cstdint>
#include <vector>

#include "common/terminal.h"
#include "preview/visible.h"

namespace tools {

namespace {

using Words = std::vector<std::string_view>;

/// Larger tables are not made; of such texts all words differ.
constexpr std::size_t kLargestTable = 4'000'000;

bool IsWordByte(char c) {
  const auto byte = static_cast<unsigned char>(c);
  return byte >= 0x80 || (byte >= '0' && byte <= '9') || (byte >= 'a' && byte <= 'z') ||
         (byte >= 'A' && byte <= 'Z');
}

/// Letters and digits that belong together; every other byte stands alone.
Words Split(std::string_view text) {
  Words words;
  for (std::size_t at = 0; at < text.size();) {
    std::size_t end = at + 1;
    while (IsWordByte(text[at]) && end < text.size() && IsWordByte(text[end]))
      ++end;
    words.push_back(text.substr(at, end - at));
    at = end;
  }
  return words;
}

/// Lengths of the longest common subsequences of all ends of two lists of words.
class CommonLengths {
 public:
  CommonLengths(const Words& a, const Words& b)
      : columns_(b.size() + 1), lengths_((a.size() + 1) * columns_) {
    for (std::size_t i = a.size(); i-- > 0;) {
      for (std::size_t j = b.size(); j-- > 0;) {
        lengths_[i * columns_ + j] =
            a[i] == b[j] ? At(i + 1, j + 1) + 1 : std::max(At(i + 1, j), At(i, j + 1));
      }
    }
  }
  std::uint32_t At(std::size_t i, std::size_t j) const { return lengths_[i * columns_ + j]; }

 private:
  std::size_t columns_;
  std::vector<std::uint32_t> lengths_;
};

/// Joins words to the line.
class Line {
 public:
  explicit Line(bool colored) : colored_(colored) {}

  void Remove(std::string_view word) { removed_ += word; }
  void Add(std::string_view word) { added_ += word; }
  void Keep(std::string_view word) {
    CloseChange();
    line_ += Visible(word);
  }
  std::string Text() {
    CloseChange();
    return line_;
  }

 private:
  void CloseChange() {
    if (!removed_.empty()) line_ += Painted("[-" + Visible(removed_) + "-]", Color::Red, colored_);
    if (!added_.empty()) line_ += Painted("{+" + Visible(added_) + "+}", Color::Green, colored_);
    removed_.clear();
    added_.clear();
  }

  bool colored_;
  std::string line_;
  std::string removed_;
  std::string added_;
};

}  // namespace

std::string WordDifference(std::string_view expected, std::string_view present, bool colored) {
  Line line(colored);
  Words a = Split(expected);
  Words b = Split(present);
  if (a.size() * b.size() > kLargestTable) {
    a = {expected};
    b = {present};
  }
  const CommonLengths common(a, b);
  std::size_t i = 0;
  std::size_t j = 0;
  while (i < a.size() && j < b.size()) {
    if (a[i] == b[j]) {
      line.Keep(a[i++]);
      ++j;
    } else if (common.At(i + 1, j) >= common.At(i, j + 1)) {
      line.Remove(a[i++]);
    } else {
      line.Add(b[j++]);
    }
  }
  while (i < a.size())
    line.Remove(a[i++]);
  while (j < b.size())
    line.Add(b[j++]);
  return line.Text();
}

}  // namespace tools
