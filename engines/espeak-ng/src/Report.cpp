#include "Report.h"

#include <cstdio>
#include <string>

#include "TextCleaner.h"

namespace engine {
namespace {

void Report(std::string_view severity, std::string_view message) {
  const std::string line =
      "ka-espeak-ng: " + std::string(severity) + ": " + CleanText(message) + "\n";
  std::fwrite(line.data(), 1, line.size(), stderr);
}

}  // namespace

void ReportError(std::string_view message) {
  Report("error", message);
}

void ReportWarning(std::string_view message) {
  Report("warning", message);
}

}  // namespace engine
