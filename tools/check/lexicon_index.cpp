#include "check/lexicon_index.h"

#include <algorithm>
#include <cctype>
#include <set>
#include <string_view>
#include <unordered_map>

namespace tools {

namespace {

/// What words are made of: letters, or figures. Everything else ends a word.
enum class Kind { None, Letter, Figure };

/// The kind of the character that the byte at `at` belongs to.
Kind KindAt(std::string_view text, std::size_t at) {
  while (at > 0 && (static_cast<unsigned char>(text[at]) & 0xC0U) == 0x80U)
    --at;
  const auto c = static_cast<unsigned char>(text[at]);
  if (std::isdigit(c) != 0) return Kind::Figure;
  // Of two bytes in UTF-8: the letters of Latin, Greek and Cyrillic.
  return std::isalpha(c) != 0 || (c >= 0xC3U && c <= 0xD4U) ? Kind::Letter : Kind::None;
}

/// Whether the character before `at` and the one that begins there are of one word.
bool IsWithinWord(const kaMaskedText& masked, std::size_t at) {
  if (at == 0 || at >= masked.Text.size()) return false;
  if (masked.Mask[at - 1] == '*' || masked.Mask[at] == '*') return false;
  const Kind kind = KindAt(masked.Text, at);
  return kind != Kind::None && kind == KindAt(masked.Text, at - 1);
}

bool IsPartOfWord(const kaMaskedText& masked, const kaReplacement& replacement) {
  const bool isEnding = std::islower(static_cast<unsigned char>(replacement.Word[0])) != 0;
  return (!isEnding && IsWithinWord(masked, replacement.Position)) ||
         IsWithinWord(masked, replacement.Position + replacement.Word.size());
}

/// The whole word that a replaced part belongs to.
std::string WordAround(const std::string& text, std::size_t begin, std::size_t end) {
  while (begin > 0 && KindAt(text, begin - 1) != Kind::None)
    --begin;
  while (end < text.size() && KindAt(text, end) != Kind::None)
    ++end;
  return text.substr(begin, end - begin);
}

void Replace(kaMaskedText& masked, const kaReplacement& replacement) {
  const std::size_t length = replacement.Word.size();
  masked.Text.replace(replacement.Position, length, replacement.Value);
  masked.Mask.replace(replacement.Position, length, std::string(replacement.Value.size(), '*'));
}

}  // namespace

std::vector<ShadowedEntry> ShadowedEntries(const std::vector<CkaProfile::ProfileEntry>& entries) {
  std::vector<ShadowedEntry> shadowed;
  std::unordered_map<std::string_view, std::size_t> seen;
  std::set<std::size_t> lengths;
  for (std::size_t i = 0; i < entries.size(); ++i) {
    const std::string_view word = entries[i].var;
    std::size_t earliest = i;
    for (std::size_t at = 0; at < word.size(); ++at) {
      for (const std::size_t length : lengths) {
        if (length > word.size() - at) break;
        const auto earlier = seen.find(word.substr(at, length));
        if (earlier != seen.end()) earliest = std::min(earliest, earlier->second);
      }
    }
    if (earliest < i) shadowed.push_back({i, earliest});
    seen.emplace(word, i);
    lengths.insert(word.size());
  }
  return shadowed;
}

std::vector<WordPart> ReplacedWordParts(const kaLexicon& lexicon, const std::string& text) {
  std::vector<kaReplacement> replacements;
  kaMaskedText result = MakeFreeText(text);
  lexicon.ApplyTo(result, &replacements);
  std::vector<WordPart> parts;
  kaMaskedText masked = MakeFreeText(text);
  for (const kaReplacement& replacement : replacements) {
    const std::size_t end = replacement.Position + replacement.Word.size();
    if (IsPartOfWord(masked, replacement))
      parts.push_back({replacement.Entry, WordAround(masked.Text, replacement.Position, end)});
    Replace(masked, replacement);
  }
  return parts;
}

}  // namespace tools
