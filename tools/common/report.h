#ifndef KA_TOOLS_REPORT_H
#define KA_TOOLS_REPORT_H

#include <cstddef>
#include <filesystem>
#include <nlohmann/json_fwd.hpp>
#include <string>
#include <vector>

#include "common/finding.h"
#include "common/language.h"

namespace tools {

/// The findings of a run, and how they are printed.
class Report {
 public:
  /// \param root the station's directory: names of files below it are printed relative to it
  Report(Language language, std::filesystem::path root);

  void Add(Finding finding);

  Language Lang() const { return language_; }
  /// The findings by file and line; those of one line by column, then in the order of their coming.
  std::vector<Finding> Findings() const;
  std::size_t Count(Severity severity) const;
  /// 1 if there is an error or a warning, else 0.
  int Status() const;

  /// For people: a line per finding as compilers print it, the effect and the advice below it, and
  /// a last line with the numbers.
  std::string Text(bool colored) const;
  /// For programs.
  nlohmann::ordered_json Json() const;

  /// A file's name as it is printed.
  std::string DisplayName(const std::filesystem::path& file) const;

 private:
  std::string TextOf(const Finding& finding, bool colored) const;

  Language language_;
  std::filesystem::path root_;
  std::vector<Finding> findings_;
};

}  // namespace tools

#endif
