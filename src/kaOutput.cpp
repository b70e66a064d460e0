#include "kaOutput.h"

#include <cstdio>
#include <new>
#include <utility>

namespace {

/// Where this thread's output is kept; null while it is written.
thread_local std::vector<kaReport>* tCaptured = nullptr;
/// Whether reports of one stream that follow each other are kept as one.
thread_local bool tJoins = false;

void Keep(kaStream stream, std::string_view text) {
  if (tJoins && !tCaptured->empty() && tCaptured->back().Stream == stream) {
    tCaptured->back().Text += text;
  } else {
    tCaptured->push_back({stream, std::string(text)});
  }
}

void Print(kaStream stream, std::string_view text) {
  if (tCaptured != nullptr) return Keep(stream, text);
  std::fwrite(text.data(), 1, text.size(), stream == kaStream::Out ? stdout : stderr);
}

}  // namespace

void PrintOut(std::string_view text) {
  Print(kaStream::Out, text);
}

void PrintErr(std::string_view text) {
  Print(kaStream::Err, text);
}

void PrintErr(std::initializer_list<std::string_view> parts) noexcept {
  try {
    std::string report;
    for (const std::string_view part : parts)
      report += part;
    PrintErr(report);
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
