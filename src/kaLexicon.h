#ifndef KA_LEXICON_H
#define KA_LEXICON_H

#include <bitset>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "kaProfile.h"

/// \file
/// Replacement of words by a lexicon. Text that a replacement put in is never replaced again.

/// A text and its protection mask: one character per byte, "." free, "*" protected.
struct kaMaskedText {
  std::string Text;
  std::string Mask;
};

/// A text of which nothing is protected.
kaMaskedText MakeFreeText(const std::string& text);

/// One occurrence of a word that was replaced.
struct kaReplacement {
  std::size_t Entry = 0;     ///< number of the entry in the lexicon's list, from 0
  std::size_t Position = 0;  ///< first byte of the occurrence in the text as it then was
  std::string Word;
  std::string Value;

  bool operator==(const kaReplacement&) const = default;
};

/// The entries of a lexicon with an index over their words: what a text costs depends on the text
/// and on the words found in it, not on the number of entries.
class kaLexicon {
 public:
  explicit kaLexicon(std::vector<CkaProfile::ProfileEntry> entries);

  /// Applies the entries in their order: every occurrence of an entry's name that touches no
  /// protected byte is replaced by the entry's value, which is protected from then on. Text and
  /// mask keep the same length. An empty name replaces nothing.
  /// \param replacements unless null, gets what was replaced in the order in which it happened
  void ApplyTo(kaMaskedText& masked, std::vector<kaReplacement>* replacements = nullptr) const;

 private:
  /// Words are looked up by their first bytes, at most this many.
  static constexpr std::size_t kLongestKey = 4;
  /// Few bits are set for every entry, so that a text seldom looks further than here.
  static constexpr std::size_t kFilterBitsPerEntry = 16;

  struct kaWord {
    std::uint32_t Key;
    std::uint32_t Entry;
  };

  std::vector<std::uint32_t> FindEntries(std::string_view text, std::uint32_t from) const;
  void AppendEntriesAt(std::vector<std::uint32_t>& found, std::string_view text,
                       std::uint32_t from) const;
  void AppendEntriesOf(std::vector<std::uint32_t>& found, std::uint32_t key, std::string_view text,
                       std::uint32_t from) const;

  std::vector<CkaProfile::ProfileEntry> entries_;
  std::vector<kaWord> words_;                ///< sorted by key, then by entry
  std::vector<bool> filter_;                 ///< by the low bits of a key: whether a word has it
  std::bitset<256> firstBytes_;              ///< of words: most bytes of a text begin none
  std::bitset<kLongestKey + 1> keyLengths_;  ///< which lengths of keys there are
};

/// Applies the entries of a profile once.
void ApplyLexicon(kaMaskedText& masked, const CkaProfile& lexicon);

#endif
