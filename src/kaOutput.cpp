#include "kaOutput.h"

#include <cstdio>
#include <utility>

namespace {

/// Where this thread's output is kept; null while it is written.
thread_local std::vector<kaReport>* tCaptured = nullptr;

void Print(kaStream stream, std::string_view text) {
  if (tCaptured != nullptr) {
    tCaptured->push_back({stream, std::string(text)});
    return;
  }
  std::fwrite(text.data(), 1, text.size(), stream == kaStream::Out ? stdout : stderr);
}

}  // namespace

void PrintOut(std::string_view text) {
  Print(kaStream::Out, text);
}

void PrintErr(std::string_view text) {
  Print(kaStream::Err, text);
}

void PrintReports(const std::vector<kaReport>& reports) {
  for (const kaReport& report : reports)
    Print(report.Stream, report.Text);
}

kaOutputCapture::kaOutputCapture(std::vector<kaReport>& reports)
    : pOuter(std::exchange(tCaptured, &reports)) {}

kaOutputCapture::~kaOutputCapture() {
  tCaptured = pOuter;
}
