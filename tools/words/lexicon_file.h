#ifndef KA_TOOLS_LEXICON_FILE_H
#define KA_TOOLS_LEXICON_FILE_H

#include <cstddef>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "common/language.h"
#include "kaLexicon.h"
#include "kaProfile.h"

namespace tools {

/// An entry of a lexicon and where it stands.
struct LexiconRow {
  CkaProfile::ProfileEntry Entry;
  int Line = 0;
  std::size_t Offset = 0;  ///< first byte of its line
};

/// What a lexicon makes of a text, byte by byte.
struct Rewriting {
  std::string Said;
  std::vector<std::size_t> Origin;  ///< per byte of Said: the byte of the text it stands for
  std::vector<std::optional<std::size_t>> Row;  ///< per byte of the text: the row that replaced it
};

/// The rewriting that leaves a text as it is.
Rewriting Unchanged(const std::string& text);

/// A lexicon file: its entries as the server reads them, and their lines.
class LexiconFile {
 public:
  /// \throws CannotRun if the file cannot be read.
  explicit LexiconFile(const std::filesystem::path& file);

  const std::filesystem::path& File() const { return file_; }
  const std::string& Bytes() const { return bytes_; }
  const std::vector<LexiconRow>& Rows() const { return rows_; }
  /// Rewrites a text by the server's own code.
  Rewriting Rewrite(const std::string& text) const;

 private:
  void ReadRows();

  std::filesystem::path file_;
  std::string bytes_;
  std::vector<LexiconRow> rows_;
  std::optional<kaLexicon> lexicon_;
};

/// A new entry, not yet written.
struct LexiconAddition {
  std::string Bytes;                   ///< the whole new file
  int Line = 0;                        ///< where the entry stands in it
  std::optional<std::size_t> Present;  ///< a row that has the word already: nothing is to be added
  std::optional<std::size_t> WouldTake;  ///< the row that would take the word's text: the new entry
                                         ///< stands before it, else at the end
  std::vector<std::size_t> Loses;        ///< later rows inside whose words the new one stands
};

/// Why a word or its replacement cannot stand in a lexicon, none if they can.
std::optional<Bilingual> Unwritable(const std::string& word, const std::string& replacement);

/// The file with one more entry; all other bytes stay. Its line ends are the file's own.
LexiconAddition Add(const LexiconFile& lexicon, const std::string& word,
                    const std::string& replacement);

/// Replaces a file at once: a server that reads it meanwhile sees the old bytes or the new ones.
/// \throws CannotRun if it cannot be written.
void ReplaceFile(const std::filesystem::path& file, const std::string& bytes);

}  // namespace tools

#endif
