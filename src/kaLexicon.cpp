#include "kaLexicon.h"

#include <string_view>

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
/// that took its place begins no match.
kaMaskedText ReplaceWord(const kaMaskedText& source, const std::string& word,
                         const std::string& replacement) {
  kaMaskedText result;
  std::size_t done = 0;
  std::size_t match = source.Text.find(word);
  while (match != std::string::npos) {
    AppendPart(result, source, done, match - done);
    const bool replaced = IsFree(source.Mask, match, word.size());
    if (replaced) AppendReplacement(result, replacement);
    done = replaced ? match + word.size() : match;
    const bool skipOne = !replaced || replacement.empty();
    match = source.Text.find(word, done + (skipOne ? 1 : 0));
  }
  AppendPart(result, source, done, std::string::npos);
  return result;
}

}  // namespace

kaMaskedText MakeFreeText(const std::string& text) {
  return {text, std::string(text.size(), '.')};
}

void ApplyLexicon(kaMaskedText& masked, const CkaProfile& lexicon) {
  for (const CkaProfile::ProfileEntry& entry : lexicon.ProfValues) {
    if (entry.var.empty() || masked.Text.find(entry.var) == std::string::npos) continue;
    masked = ReplaceWord(masked, entry.var, entry.value);
  }
}
