#include "kaLexicon.h"

#include <algorithm>
#include <bit>
#include <numeric>
#include <tuple>
#include <utility>

namespace {

bool IsFree(std::string_view mask, std::size_t pos, std::size_t length) {
  return mask.substr(pos, length).find('*') == std::string_view::npos;
}

/// Copies `count` bytes of `from` at `pos` to the end of `to`, text and mask alike.
void AppendPart(kaMaskedText& to, const kaMaskedText& from, std::size_t pos, std::size_t count) {
  to.Text.append(from.Text, pos, count);
  to.Mask.append(from.Mask, pos, count);
}

void AppendReplacement(kaMaskedText& to, const std::string& replacement) {
  to.Text += replacement;
  to.Mask.append(replacement.size(), '*');
}

/// Replaces all free occurrences of `word`, from left to right. After each occurrence the search
/// goes on one byte further in the text as it then is. Bytes of a replacement are protected, so the
/// next byte that matters is the first one behind it; an empty replacement has none, and the byte
/// that took its place begins no match. The position of each is appended to `positions` unless that
/// is null.
kaMaskedText ReplaceWord(const kaMaskedText& source, const std::string& word,
                         const std::string& replacement, std::vector<std::size_t>* positions) {
  kaMaskedText result;
  std::size_t done = 0;
  std::size_t match = source.Text.find(word);
  while (match != std::string::npos) {
    AppendPart(result, source, done, match - done);
    const bool replaced = IsFree(source.Mask, match, word.size());
    if (replaced && positions != nullptr) positions->push_back(result.Text.size());
    if (replaced) AppendReplacement(result, replacement);
    done = replaced ? match + word.size() : match;
    const bool skipOne = !replaced || replacement.empty();
    match = source.Text.find(word, done + (skipOne ? 1 : 0));
  }
  AppendPart(result, source, done, std::string::npos);
  return result;
}

std::uint64_t AppendByte(std::uint64_t bytes, char c) {
  return bytes << 8 | static_cast<unsigned char>(c);
}

/// The key of a word's start: its bytes and their number, mixed by a multiplication so that the low
/// bits depend on all of them.
std::uint32_t KeyOf(std::uint64_t bytes, std::size_t length) {
  constexpr std::uint64_t kMixer = 0x9E3779B97F4A7C15U;
  return static_cast<std::uint32_t>((bytes | std::uint64_t{length} << 32) * kMixer >> 32);
}

std::uint32_t KeyOf(std::string_view start) {
  return KeyOf(std::accumulate(start.begin(), start.end(), std::uint64_t{0}, AppendByte),
               start.size());
}

}  // namespace

kaMaskedText MakeFreeText(const std::string& text) {
  return {text, std::string(text.size(), '.')};
}

kaLexicon::kaLexicon(std::vector<CkaProfile::ProfileEntry> entries)
    : entries_(std::move(entries)),
      filter_(std::bit_ceil(kFilterBitsPerEntry * entries_.size() + 1)) {
  for (std::uint32_t i = 0; i < entries_.size(); ++i) {
    const std::string_view word = entries_[i].var;
    if (word.empty()) continue;
    const std::string_view start = word.substr(0, kLongestKey);
    const std::uint32_t key = KeyOf(start);
    words_.push_back({key, i});
    filter_[key & (filter_.size() - 1)] = true;
    firstBytes_.set(static_cast<unsigned char>(word.front()));
    keyLengths_.set(start.size());
  }
  std::sort(words_.begin(), words_.end(), [](const kaWord& a, const kaWord& b) {
    return std::tie(a.Key, a.Entry) < std::tie(b.Key, b.Entry);
  });
}

void kaLexicon::ApplyTo(kaMaskedText& masked, std::vector<kaReplacement>* replacements) const {
  std::vector<std::size_t> positions;
  std::vector<std::uint32_t> found = FindEntries(masked.Text, 0);
  for (auto next = found.begin(); next != found.end();) {
    const CkaProfile::ProfileEntry& entry = entries_[*next];
    const std::uint32_t following = *next + 1;
    const std::size_t size = masked.Text.size();
    masked = ReplaceWord(masked, entry.var, entry.value, replacements ? &positions : nullptr);
    for (const std::size_t position : positions)
      replacements->push_back({*next, position, entry.var, entry.value});
    positions.clear();
    ++next;
    // What is removed without a replacement joins its neighbours to new words.
    if (!entry.value.empty() || masked.Text.size() == size) continue;
    found = FindEntries(masked.Text, following);
    next = found.begin();
  }
}

/// The entries from number `from` on whose names occur in `text`, in their order.
std::vector<std::uint32_t> kaLexicon::FindEntries(std::string_view text, std::uint32_t from) const {
  std::vector<std::uint32_t> found;
  for (std::size_t pos = 0; pos < text.size(); ++pos) {
    if (!firstBytes_[static_cast<unsigned char>(text[pos])]) continue;
    AppendEntriesAt(found, text.substr(pos), from);
  }
  std::sort(found.begin(), found.end());
  found.erase(std::unique(found.begin(), found.end()), found.end());
  return found;
}

/// Adds the entries from number `from` on that `text` begins with.
void kaLexicon::AppendEntriesAt(std::vector<std::uint32_t>& found, std::string_view text,
                                std::uint32_t from) const {
  std::uint64_t bytes = 0;
  for (std::size_t length = 1; length <= std::min(kLongestKey, text.size()); ++length) {
    bytes = AppendByte(bytes, text[length - 1]);
    if (!keyLengths_[length]) continue;
    const std::uint32_t key = KeyOf(bytes, length);
    if (filter_[key & (filter_.size() - 1)]) AppendEntriesOf(found, key, text, from);
  }
}

/// Adds those of one key.
void kaLexicon::AppendEntriesOf(std::vector<std::uint32_t>& found, std::uint32_t key,
                                std::string_view text, std::uint32_t from) const {
  auto word = std::lower_bound(words_.begin(), words_.end(), key,
                               [](const kaWord& w, std::uint32_t k) { return w.Key < k; });
  for (; word != words_.end() && word->Key == key; ++word) {
    if (word->Entry >= from && text.starts_with(entries_[word->Entry].var)) {
      found.push_back(word->Entry);
    }
  }
}

void ApplyLexicon(kaMaskedText& masked, const CkaProfile& lexicon) {
  kaLexicon(lexicon.ProfValues).ApplyTo(masked);
}
