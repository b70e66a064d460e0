#ifndef KA_TOOLS_METRICS_H
#define KA_TOOLS_METRICS_H

#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace tools {

/// A family of series. Names are read by monitoring: they stay as they are.
struct MetricFamily {
  std::string_view Name;
  std::string_view Help;  ///< without backslash and line end
};

using MetricLabels = std::vector<std::pair<std::string_view, std::string>>;

/// A value of a family; all families are gauges.
struct MetricSample {
  const MetricFamily* Family;
  MetricLabels Labels;
  double Value;
};

/// All families in the order of the output.
std::span<const MetricFamily> MetricFamilies();

/// The figures of a run.
class Metrics {
 public:
  /// \throws std::logic_error if there is no such family
  void Set(std::string_view family, double value) { Set(family, {}, value); }
  void Set(std::string_view family, MetricLabels labels, double value);
  /// The value of a series without labels, 0 if it is not there.
  double Value(std::string_view family) const;
  const std::vector<MetricSample>& Samples() const { return samples_; }

  /// The text format of Prometheus, version 0.0.4, as its documentation's page "Exposition formats"
  /// lays down under "Text-based format": per family a line "# HELP", a line "# TYPE" and its
  /// samples. There are no time stamps, since a node exporter's textfile directory takes none.
  std::string Text() const;

 private:
  std::vector<MetricSample> samples_;
};

/// The value of a series without labels in a text of that format, 0 if it is not there.
double ValueInText(std::string_view text, std::string_view family);

/// The page of metrics in Markdown: a row per family.
std::string MetricTable();

}  // namespace tools

#endif
