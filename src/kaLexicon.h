#ifndef KA_LEXICON_H
#define KA_LEXICON_H

#include <string>

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

/// Applies the entries of `lexicon` in their order: every occurrence of an entry's name that
/// touches no protected byte is replaced by the entry's value, which is protected from then on.
/// Text and mask keep the same length. An empty name replaces nothing.
void ApplyLexicon(kaMaskedText& masked, const CkaProfile& lexicon);

#endif
