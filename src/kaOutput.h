#ifndef KA_OUTPUT_H
#define KA_OUTPUT_H

#include <initializer_list>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// \file
/// Everything that the server says goes through here. One call writes one report whole, so that
/// reports of several threads never mix within one.

enum class kaStream { Out, Err };

/// One piece of output, kept for later.
struct kaReport {
  kaStream Stream;
  std::string Text;

  bool operator==(const kaReport&) const = default;
};

/// Writes `text` to standard output as it stands.
void PrintOut(std::string_view text);

/// Writes the parts of one report to standard output.
void PrintOut(std::initializer_list<std::string_view> parts);

/// Writes `text` to standard error as it stands.
void PrintErr(std::string_view text);

/// Writes the parts of one report to standard error. Never throws: without the memory to join them,
/// they are written one by one.
void PrintErr(std::initializer_list<std::string_view> parts) noexcept;

/// Writes kept reports in their order.
void PrintReports(const std::vector<kaReport>& reports);

/// While it lives, what its own thread prints is appended to `reports` instead of being written.
/// Captures nest: the innermost one receives.
class kaOutputCapture {
 public:
  /// \param reports outlives the capture.
  /// \param joins makes one report of those of one stream that follow each other.
  explicit kaOutputCapture(std::vector<kaReport>& reports, bool joins = false);
  ~kaOutputCapture();
  kaOutputCapture(const kaOutputCapture&) = delete;
  kaOutputCapture& operator=(const kaOutputCapture&) = delete;

 private:
  std::vector<kaReport>* pOuter;
  bool bOuterJoins;
};

/// While it lives, what its own thread prints is held back; its end writes all of it in as few
/// calls as the order of the two streams allows. For work that may print thousands of lines.
class kaJoinedOutput {
 public:
  kaJoinedOutput() = default;
  ~kaJoinedOutput();
  kaJoinedOutput(const kaJoinedOutput&) = delete;
  kaJoinedOutput& operator=(const kaJoinedOutput&) = delete;

 private:
  std::vector<kaReport> Reports;
  std::optional<kaOutputCapture> Capture{std::in_place, Reports, true};
};

#endif
