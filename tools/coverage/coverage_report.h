#ifndef KA_TOOLS_COVERAGE_REPORT_H
#define KA_TOOLS_COVERAGE_REPORT_H

#include <nlohmann/json_fwd.hpp>
#include <string>
#include <vector>

#include "coverage/coverage.h"

namespace tools {

/// What there is to say about a coverage, and how it is printed.
class CoverageReport {
 public:
  /// \param root the station's directory: names of files below it are printed relative to it
  CoverageReport(const Coverage& coverage, std::string root, Language language);

  const Coverage& Data() const { return coverage_; }
  Language Lang() const { return language_; }

  /// For people: a table with the share of each kind, and the refused blocks.
  std::string Summary(bool colored) const;
  /// For people: a line for each item that no block reaches.
  std::string Missing(bool colored) const;
  /// For programs: all of it, and how often each item was reached.
  nlohmann::ordered_json Json() const;

  /// A file's name as it is printed.
  std::string NameOf(const std::filesystem::path& file) const;
  /// "12 blocks, 30 rows, 2 blocks refused".
  std::string Numbers() const;
  std::string Percent(const Share& share) const;
  std::string AdviceOf(const CoverageItem& item) const;

 private:
  std::string SummaryRow(std::string_view title, const Share& share, bool colored) const;
  nlohmann::ordered_json KindsAsJson() const;
  nlohmann::ordered_json ItemAsJson(const CoverageItem& item) const;

  const Coverage& coverage_;
  std::string root_;
  Language language_;
};

/// The title of Coverage::Total.
extern const Bilingual kTotalTitle;

}  // namespace tools

#endif
