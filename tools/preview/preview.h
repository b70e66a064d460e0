#ifndef KA_TOOLS_PREVIEW_H
#define KA_TOOLS_PREVIEW_H

#include <optional>
#include <string>
#include <vector>

#include "common/document.h"
#include "common/station.h"
#include "kaSpeechbuilder.h"
#include "preview/block_fault.h"
#include "preview/explanation.h"

namespace tools {

/// The text of one row in one language.
struct ComposedText {
  int Row = 0;  ///< from 0
  std::string Language;
  std::string Name;      ///< of the file in the store: language and row
  bool bExists = false;  ///< false: the language has no announcement for the row, nothing is said
  std::string Text;
  std::optional<Explanation> Why;
};

/// What the server makes of a data block.
struct BlockPreview {
  enum class Outcome {
    Complete,
    NotWellFormed,        ///< refused
    ExpandsTooFar,        ///< refused
    TooFewRows,           ///< refused
    ValueMissing,         ///< refused
    CaseOutsideValue,     ///< given up: a case looks behind the end of a value
    AnnouncementMissing,  ///< given up: the list of announcements has none at the chosen index
    LanguageMissing       ///< given up: Assembly has fewer languages than References
  };
  /// A required attribute without a value.
  struct Missing {
    int Row = 0;
    int Line = 0;  ///< of the row in the block
    std::string Attribute;
  };

  Outcome Result = Outcome::Complete;
  int Rows = 0;                      ///< in the block
  int UsedRows = 0;                  ///< of which announcements are made
  unsigned int MinRows = 0;          ///< what the document wants at least
  BlockFault Fault;                  ///< NotWellFormed
  std::vector<Missing> Values;       ///< ValueMissing
  int FailedRow = 0;                 ///< where the block was given up
  std::optional<CaseReason> Failed;  ///< CaseOutsideValue
  int FailedLanguage = 0;            ///< AnnouncementMissing, LanguageMissing: its number, from 0
  /// In the order in which the server makes them. Of a block that was given up those before; their
  /// files are in the store, but they are not played.
  std::vector<ComposedText> Texts;

  bool IsGivenUp() const { return Result >= Outcome::CaseOutsideValue; }
};

/// Composes texts as the server does, from a station's documents as they are now.
class Preview {
 public:
  /// \throws CannotRun if the server would open no port with them.
  explicit Preview(const Station& station);

  /// \param message what a client sends to the data port \param explains whether the texts get an
  /// explanation
  BlockPreview Of(const std::string& message, bool explains);

  const Document& AnnouncementDocument() const { return document_; }
  const CkaSpeechbuilder& Builder() const { return builder_; }

 private:
  void ComposeRows(BlockPreview& preview, CkaRBLDataContent& content, bool explains);
  bool CheckRow(BlockPreview& preview, CkaRBLDataContent& content, int row, CkaCaseCheck& cases);
  bool ComposeText(BlockPreview& preview, const CkaRBLDataContent& content, int row, int lang,
                   const CkaCaseCheck& cases, bool explains);

  Document document_;
  CkaSpeechbuilder builder_;
  std::optional<Explainer> explainer_;
};

/// What a listener gets of the bytes that a client sends: those of one read, up to a zero byte.
std::string ReceivedPart(const std::string& bytes);

}  // namespace tools

#endif
