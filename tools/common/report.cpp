#include "common/report.h"

#include <algorithm>
#include <nlohmann/json.hpp>
#include <tuple>
#include <utility>

#include "common/terminal.h"

namespace tools {

namespace {

constexpr Bilingual kEffect = {"Server: ", "server: "};
constexpr Bilingual kAdvice = {"Abhilfe: ", "write: "};
/// What is counted: one of it, several of it.
struct Counted {
  Bilingual One;
  Bilingual Several;
};

constexpr Counted kErrors = {{"Fehler", "error"}, {"Fehler", "errors"}};
constexpr Counted kWarnings = {{"Warnung", "warning"}, {"Warnungen", "warnings"}};
constexpr Counted kHints = {{"Hinweis", "hint"}, {"Hinweise", "hints"}};

Color ColorOf(Severity severity) {
  switch (severity) {
    case Severity::Error:
      return Color::Red;
    case Severity::Warning:
      return Color::Yellow;
    case Severity::Hint:
      break;
  }
  return Color::Blue;
}

std::string Number(std::size_t count, const Counted& noun, Language language) {
  const Bilingual& word = count == 1 ? noun.One : noun.Several;
  return std::to_string(count) + " " + std::string(word(language));
}

std::string Numbers(const Place& place) {
  if (place.Line == 0) return "";
  const std::string line = ":" + std::to_string(place.Line);
  return place.Column == 0 ? line : line + ":" + std::to_string(place.Column);
}

}  // namespace

std::string_view NameOf(Severity severity) {
  switch (severity) {
    case Severity::Error:
      return "error";
    case Severity::Warning:
      return "warning";
    case Severity::Hint:
      break;
  }
  return "hint";
}

Report::Report(Language language, std::filesystem::path root)
    : language_(language), root_(std::move(root)) {}

void Report::Add(Finding finding) {
  findings_.push_back(std::move(finding));
}

std::vector<Finding> Report::Findings() const {
  std::vector<Finding> sorted = findings_;
  std::stable_sort(sorted.begin(), sorted.end(), [](const Finding& a, const Finding& b) {
    return std::tie(a.Where.File, a.Where.Line, a.Where.Column) <
           std::tie(b.Where.File, b.Where.Line, b.Where.Column);
  });
  return sorted;
}

std::size_t Report::Count(Severity severity) const {
  return static_cast<std::size_t>(
      std::count_if(findings_.begin(), findings_.end(),
                    [severity](const Finding& finding) { return finding.Level == severity; }));
}

int Report::Status() const {
  return Count(Severity::Error) + Count(Severity::Warning) == 0 ? 0 : 1;
}

std::string Report::Text(bool colored) const {
  std::string text;
  for (const Finding& finding : Findings())
    text += TextOf(finding, colored);
  return text + Number(Count(Severity::Error), kErrors, language_) + ", " +
         Number(Count(Severity::Warning), kWarnings, language_) + ", " +
         Number(Count(Severity::Hint), kHints, language_) + "\n";
}

std::string Report::TextOf(const Finding& finding, bool colored) const {
  const std::string place = DisplayName(finding.Where.File) + Numbers(finding.Where) + ":";
  std::string text = Painted(place, Color::Bold, colored) + " " +
                     Painted(NameOf(finding.Level), ColorOf(finding.Level), colored) + " " +
                     finding.Rule + ": " + finding.Problem + "\n";
  if (!finding.Effect.empty()) {
    text += "    " + Painted(kEffect(language_), Color::Dim, colored) + finding.Effect + "\n";
  }
  if (!finding.Advice.empty()) {
    text += "    " + Painted(kAdvice(language_), Color::Dim, colored) + finding.Advice + "\n";
  }
  return text;
}

nlohmann::ordered_json Report::Json() const {
  nlohmann::ordered_json findings = nlohmann::ordered_json::array();
  for (const Finding& finding : Findings()) {
    findings.push_back({{"file", DisplayName(finding.Where.File)},
                        {"line", finding.Where.Line},
                        {"column", finding.Where.Column},
                        {"severity", NameOf(finding.Level)},
                        {"rule", finding.Rule},
                        {"problem", finding.Problem},
                        {"effect", finding.Effect},
                        {"advice", finding.Advice}});
  }
  return {{"findings", std::move(findings)},
          {"errors", Count(Severity::Error)},
          {"warnings", Count(Severity::Warning)},
          {"hints", Count(Severity::Hint)}};
}

std::string Report::DisplayName(const std::filesystem::path& file) const {
  const std::filesystem::path relative = file.lexically_normal().lexically_relative(root_);
  return relative.empty() || *relative.begin() == ".." ? file.string() : relative.string();
}

}  // namespace tools
