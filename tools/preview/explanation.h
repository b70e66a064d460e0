#ifndef KA_TOOLS_EXPLANATION_H
#define KA_TOOLS_EXPLANATION_H

#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "common/document.h"
#include "kaCompositionTrace.h"
#include "kaSpeechbuilder.h"
#include "preview/case_reason.h"

namespace tools {

/// Why an announcement was chosen for a row, or why there is none.
struct AnnouncementChoice {
  /// The first of the list that the row's number fits, -1 if none does.
  int Fitting = -1;
  int Position = 0;     ///< of the fitting one
  int PositionMax = 0;  ///< of the fitting one
  /// Truth value that serves as list index: 0 if the fitting one has position 0, else 1.
  int Index = 0;
  bool bExists = false;  ///< an announcement has exactly this index as position
  int Line = 0;          ///< of the announcement, 0 if unknown
};

/// What became of a phrase, and why.
struct PhraseReason {
  CkaSpeechGen::kaTTSPhrase Phrase;
  kaPhraseTrace Trace;
  int Line = 0;                    ///< of the phrase in the document, 0 if unknown
  std::optional<CaseReason> Case;  ///< none for a phrase without condition
  std::vector<int> EntryLines;     ///< for each replacement, the line of its entry
};

/// How a text came about: general prefix, a blank, and the pieces of all phrases, joined, are it.
struct Explanation {
  AnnouncementChoice Choice;
  std::string GeneralPrefix;
  std::vector<PhraseReason> Phrases;
};

/// Explains the texts of a builder.
class Explainer {
 public:
  /// \param builder, document outlive the object
  Explainer(const CkaSpeechbuilder& builder, const Document& document);

  /// \param trace of the text \param checked has checked the row
  Explanation Of(const kaCompositionTrace& trace, const CkaCaseCheck& checked,
                 const CkaRBLDataContent& content, int row, int lang);
  const CaseReasons& Cases() const { return cases_; }
  /// Lexica are read again from now on.
  void ForgetLexica() { entryLines_.clear(); }

 private:
  AnnouncementChoice Choice(const kaCompositionTrace& trace, int row, int lang) const;
  const Element* AnnouncementElement(int lang, int index) const;
  std::vector<int> EntryLines(const kaPhraseTrace& trace);

  const CkaSpeechbuilder& builder_;
  const Document& document_;
  CaseReasons cases_;
  std::map<std::string, std::vector<int>> entryLines_;  ///< by lexicon file, the lines of entries
};

}  // namespace tools

#endif
