#ifndef KA_TOOLS_PROFILE_FILE_H
#define KA_TOOLS_PROFILE_FILE_H

#include <cstddef>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include "common/finding.h"

namespace tools {

/// A row of a configuration or lexicon that is not left out as empty, comment or section.
struct ProfileRow {
  int Line = 0;
  int Column = 0;        ///< where the name begins
  int ValueColumn = 0;   ///< the first character between the quotes; 0 for a faulty row
  bool bFaulty = false;  ///< no assignment: the server skips it
  std::string Name;      ///< of a faulty row what stands before its "=", or all of it
  std::string Value;
};

/// A configuration or lexicon as the server reads it, and where in the file everything stands.
class ProfileFile {
 public:
  /// \throws CannotRun if the file cannot be read.
  explicit ProfileFile(const std::filesystem::path& file);

  const std::vector<ProfileRow>& Rows() const { return rows_; }
  /// The first assignment to `name`, which is the one that counts; null if there is none.
  const ProfileRow* Find(std::string_view name) const;
  /// Whether a row was meant to assign to `name`: faulty ones and blanks behind the name count.
  bool Mentions(std::string_view name) const;

  Place At() const { return {file_, 0, 0}; }
  Place At(const ProfileRow& row) const { return {file_, row.Line, row.Column}; }
  /// A byte of the row's value.
  Place ValueAt(const ProfileRow& row, std::size_t offset = 0) const;

 private:
  std::filesystem::path file_;
  std::vector<ProfileRow> rows_;
};

/// A text without blanks at its end.
std::string WithoutTrailingBlanks(const std::string& text);
/// The number of characters of a text in UTF-8.
int CountCharacters(std::string_view text);

}  // namespace tools

#endif
