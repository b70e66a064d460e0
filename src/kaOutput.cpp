#include "kaOutput.h"

#include <cstdio>
#include <new>
#include <utility>

namespace {

/// Where this thread's output is kept; null while it is written.
thread_local std::vector<kaReport>* tCaptured = nullptr;
/// Whether reports of one stream that follow each other are kept as one.
thread_local bool tJoins = false;

using kaParts = std::initializer_list<std::string_view>;

void Append(std::string& report, kaParts parts) {
  for (const std::string_view part : parts)
    report += part;
}

/// The kept report to which the parts of the next one are appended.
std::string& KeptReport(kaStream stream) {
  const bool joins = tJoins && !tCaptured->empty() && tCaptured->back().Stream == stream;
  return joins ? tCaptured->back().Text : tCaptured->emplace_back(kaReport{stream, ""}).Text;
}

void Print(kaStream stream, std::string_view text) {
  if (tCaptured != nullptr) return Append(KeptReport(stream), {text});
  std::fwrite(text.data(), 1, text.size(), stream == kaStream::Out ? stdout : stderr);
}

void Print(kaStream stream, kaParts parts) {
  if (tCaptured != nullptr) return Append(KeptReport(stream), parts);
  std::string report;
  Append(report, parts);
  Print(stream, std::string_view(report));
}

}  // namespace

void PrintOut(std::string_view text) {
  Print(kaStream::Out, text);
}

void PrintOut(std::initializer_list<std::string_view> parts) {
  Print(kaStream::Out, parts);
}

void PrintErr(std::string_view text) {
  Print(kaStream::Err, text);
}

void PrintErr(std::initializer_list<std::string_view> parts) noexcept {
  try {
    Print(kaStream::Err, parts);
  } catch (const std::bad_alloc&) {
    for (const std::string_view part : parts)
      std::fwrite(part.data(), 1, part.size(), stderr);
  }
}

void PrintReports(const std::vector<kaReport>& reports) {
  for (const kaReport& report : reports)
    Print(report.Stream, report.Text);
}

kaOutputCapture::kaOutputCapture(std::vector<kaReport>& reports, bool joins)
    : pOuter(std::exchange(tCaptured, &reports)), bOuterJoins(std::exchange(tJoins, joins)) {}

kaOutputCapture::~kaOutputCapture() {
  tCaptured = pOuter;
  tJoins = bOuterJoins;
}

kaJoinedOutput::~kaJoinedOutput() {
  Capture.reset();
  PrintReports(Reports);
}
