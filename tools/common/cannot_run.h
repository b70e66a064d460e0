#ifndef KA_TOOLS_CANNOT_RUN_H
#define KA_TOOLS_CANNOT_RUN_H

#include <filesystem>
#include <stdexcept>
#include <string>

#include "common/language.h"

namespace tools {

/// A subcommand cannot do its work, e.g. because a file cannot be read. `main` prints the message
/// and ends with status 2.
class CannotRun : public std::runtime_error {
 public:
  /// \param problem a text without placeholders
  CannotRun(const Bilingual& problem, std::filesystem::path file);

  const std::filesystem::path& File() const { return file_; }
  /// "file: problem".
  std::string Message(Language language) const;

 private:
  Bilingual problem_;
  std::filesystem::path file_;
};

}  // namespace tools

#endif
