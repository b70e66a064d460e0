#ifndef KA_TESTS_TOOLS_WORDS_CORPUS_H
#define KA_TESTS_TOOLS_WORDS_CORPUS_H

#include <string>
#include <vector>

#include "words/phonemes.h"

namespace toolstest {

/// A line of tests/tools/words/corpus_*.tsv; the files say what the columns mean.
struct CorpusPhrase {
  int Line = 0;
  std::string Text;
  std::string Phonemes;
  std::string Wording;
  std::string Lexicon;
  std::string Before;

  /// The text after the server has rewritten its value by the station's lexicon.
  std::string Said(const std::string& language) const;
  bool WasRight() const { return Before == "right"; }
};

std::vector<CorpusPhrase> Corpus(const std::string& language);

/// The demo station's voice of a language.
std::string VoiceOf(const std::string& language);

/// The one object of the process.
tools::Phonemes& ThePhonemes();

/// `text` as the server's own code rewrites it by a lexicon of the demo station.
std::string Rewritten(const std::string& text, const std::string& language,
                      const std::string& lexicon);

}  // namespace toolstest

#endif
