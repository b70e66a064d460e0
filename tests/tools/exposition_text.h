#ifndef KA_TESTS_TOOLS_EXPOSITION_TEXT_H
#define KA_TESTS_TOOLS_EXPOSITION_TEXT_H

#include <map>
#include <string>
#include <vector>

namespace toolstest {

/// A text in the format in which Prometheus collects figures (its documentation, "Exposition
/// formats", text-based format 0.0.4), read strictly: what a collector would refuse or its linter
/// would complain about is a fault.
class ExpositionText {
 public:
  explicit ExpositionText(const std::string& text);

  const std::vector<std::string>& Faults() const { return faults_; }
  /// Values by name and labels as they are written.
  const std::map<std::string, double>& Series() const { return series_; }
  /// \throws std::out_of_range
  double At(const std::string& series) const { return series_.at(series); }
  const std::map<std::string, std::string>& Types() const { return types_; }

 private:
  void ReadLine(const std::string& line);
  void ReadHelp(const std::string& line);
  void ReadType(const std::string& line);
  void ReadSample(const std::string& line);
  void CheckFamily(const std::string& name);
  void Fault(const std::string& what, const std::string& line);

  std::vector<std::string> faults_;
  std::map<std::string, double> series_;
  std::map<std::string, std::string> help_;
  std::map<std::string, std::string> types_;
  std::vector<std::string> families_;  ///< those with samples, in their order
};

}  // namespace toolstest

#endif
