#ifndef KA_BENCH_FIGURES_H
#define KA_BENCH_FIGURES_H

#include <string>
#include <utility>
#include <vector>

namespace bench {

double Median(std::vector<double> values);
/// The value that 95 of 100 do not exceed.
double Percentile95(std::vector<double> values);
/// Median of the quotients of values that were measured side by side.
double PairedRatio(const std::vector<double>& values, const std::vector<double>& references);

/// `value` with `digits` digits behind the point.
std::string Fixed(double value, int digits);

/// Rows of one section: printed as a table, kept as JSON.
class Table {
 public:
  /// \param columns all different; the first one names the rows
  Table(std::string title, std::vector<std::string> columns);

  void Add(const std::string& name, const std::vector<double>& values);
  void Print() const;
  /// Writes DIRECTORY/NAME.json.
  void Save(const std::string& directory, const std::string& name) const;

 private:
  std::string title_;
  std::vector<std::string> columns_;
  std::vector<std::pair<std::string, std::vector<double>>> rows_;
};

/// Limits and whether they hold, appended to DIRECTORY/limits.tsv as "limit, measured, holds".
class Limits {
 public:
  explicit Limits(const std::string& directory);
  /// A limit that `measured` must not exceed.
  void AtMost(const std::string& what, double measured, double limit,
              const std::string& unit) const;

 private:
  std::string path_;
};

}  // namespace bench

#endif
