#ifndef KA_TOOLS_LEXICON_INDEX_H
#define KA_TOOLS_LEXICON_INDEX_H

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "kaLexicon.h"

namespace tools {

/// An entry whose word an earlier entry has always replaced before.
struct ShadowedEntry {
  std::size_t Entry = 0;
  std::size_t Earlier = 0;
};

/// All of them, by the numbers that the entries have in the list. For each the first entry whose
/// word is the same or a part of its own. Not counted is what an entry that puts in nothing leaves
/// over of a word that stands twice in a row.
std::vector<ShadowedEntry> ShadowedEntries(const std::vector<CkaProfile::ProfileEntry>& entries);

/// An entry that replaced a part of a longer word.
struct WordPart {
  std::size_t Entry = 0;
  std::string Word;  ///< the longer one
};

/// What a lexicon replaces in `text` within longer words or numbers. A word that begins in small
/// letters, such as "str.", is taken as an ending that is meant to be replaced within words.
std::vector<WordPart> ReplacedWordParts(const kaLexicon& lexicon, const std::string& text);

}  // namespace tools

#endif
