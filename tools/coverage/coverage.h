#ifndef KA_TOOLS_COVERAGE_H
#define KA_TOOLS_COVERAGE_H

#include <cstddef>
#include <filesystem>
#include <string>
#include <vector>

#include "coverage/coverage_items.h"
#include "kaCompositionTrace.h"

namespace tools {

/// A block of which the server makes no text.
struct RefusedBlock {
  std::filesystem::path File;
  const Bilingual* Reason;
};

/// Reached out of a number.
struct Share {
  std::size_t Reached = 0;
  std::size_t Total = 0;

  /// Rounded down to a tenth, so that 100 means all. 100 of nothing.
  double Percent() const;
};

/// What a set of blocks reaches in a station's document and lexica. A refused block reaches
/// nothing.
class Coverage {
 public:
  /// \throws CannotRun if the server would open no port with this station
  explicit Coverage(const Station& station);

  /// Takes a file as one message at the data port. \throws CannotRun if it cannot be read
  void Add(const std::filesystem::path& file);

  const tools::Document& Document() const { return document_; }
  const CkaSpeechbuilder& Builder() const { return builder_; }
  const CoverageItems& Items() const { return items_; }
  std::size_t BlockCount() const { return blocks_; }
  std::size_t RowCount() const { return rows_; }
  const std::vector<RefusedBlock>& Refused() const { return refused_; }

  Share ShareOf(ItemKind kind) const;
  /// Of all kinds together but the lexicon entries: a lexicon is a list of words, mostly much
  /// longer than the document, and no set of blocks has them all.
  Share Total() const;

 private:
  /// Items that a block reaches, each once per time.
  using Reached = std::vector<std::size_t>;

  bool Follow(CkaRBLDataContent& content, int rows, Reached& reached);
  void FollowRow(CkaRBLDataContent& content, int row, Reached& reached);
  void FollowText(int language, const kaCompositionTrace& trace, Reached& reached) const;
  void FollowPhrase(int language, const CkaSpeechGen::kaTTSPhrase& phrase,
                    const kaPhraseTrace& trace, Reached& reached) const;

  tools::Document document_;
  CkaSpeechbuilder builder_;
  CoverageItems items_;
  std::size_t blocks_ = 0;
  std::size_t rows_ = 0;
  std::vector<RefusedBlock> refused_;
};

}  // namespace tools

#endif
