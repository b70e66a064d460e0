#ifndef KA_COMPOSITION_TRACE_H
#define KA_COMPOSITION_TRACE_H

#include <cstddef>
#include <string>
#include <vector>

#include "kaLexicon.h"

/// \file
/// How a text came about, for tools that explain it. The server itself asks for no trace, and its
/// texts then cost nothing more.

/// What became of one phrase.
struct kaPhraseTrace {
  std::size_t Number = 0;       ///< place in the announcement's list of phrases, from 0
  bool bSpoken = false;         ///< its case holds, or it has none; what follows is then set
  int Trait = 3;                ///< one of CkaSpeechFormat's traits; nothing is said for an error
  std::string Attribute;        ///< row attribute that a value was taken from, "" if there is none
  std::string Value;            ///< that value before any lexicon
  std::string LexiconPath;      ///< lexicon file that the value passed, "" for none
  bool bLexiconLoaded = false;  ///< false: the file does not exist, the value stayed as it was
  std::vector<kaReplacement> Replacements;  ///< what the lexicon replaced in the value
  std::string Piece;                        ///< what was appended to the text
};

/// How the text of one row in one language came about: the general prefix, a blank, and the pieces
/// of all phrases, joined, are the text.
struct kaCompositionTrace {
  int Index = 0;         ///< announcement in the language's list that was chosen
  bool bExists = false;  ///< false: the language has none for the row, and no phrases follow
  std::string GeneralPrefix;
  std::vector<kaPhraseTrace> Phrases;  ///< all of the announcement, spoken or not
};

#endif
