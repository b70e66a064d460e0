#include "common/report.h"

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <string>
#include <tuple>

namespace tools {

namespace {

Finding FindingAt(const std::string& file, int line, int column, Severity severity) {
  return {severity, "some-rule", {file, line, column}, "it is wrong", "does nothing", "another"};
}

TEST(Report, WithoutAFindingIsFine) {
  const Report report(Language::English, "/station");
  EXPECT_EQ(report.Status(), 0);
  EXPECT_EQ(report.Text(false), "0 errors, 0 warnings, 0 hints\n");
}

TEST(Report, FindingIsPrintedAsCompilersDo) {
  Report report(Language::English, "/station");
  report.Add(FindingAt("/station/announcements/station.xml", 12, 5, Severity::Error));
  EXPECT_EQ(report.Text(false),
            "announcements/station.xml:12:5: error some-rule: it is wrong\n"
            "    server: does nothing\n"
            "    write: another\n"
            "1 error, 0 warnings, 0 hints\n");
}

TEST(Report, GermanHasGermanWordsForPeopleButTheSameSeverity) {
  Report report(Language::German, "/station");
  report.Add(FindingAt("/station/a.xml", 1, 0, Severity::Warning));
  EXPECT_EQ(report.Text(false),
            "a.xml:1: warning some-rule: it is wrong\n"
            "    Server: does nothing\n"
            "    Abhilfe: another\n"
            "0 Fehler, 1 Warnung, 0 Hinweise\n");
}

TEST(Report, PlaceThatIsUnknownIsLeftOut) {
  Report report(Language::English, "/station");
  report.Add(FindingAt("/station/a", 7, 0, Severity::Hint));
  report.Add(FindingAt("/station/b", 0, 0, Severity::Hint));
  EXPECT_NE(report.Text(false).find("a:7: hint"), std::string::npos);
  EXPECT_NE(report.Text(false).find("b: hint"), std::string::npos);
}

TEST(Report, EffectOrAdviceThatIsEmptyHasNoLine) {
  Report report(Language::English, "/station");
  Finding finding = FindingAt("/station/a", 7, 0, Severity::Hint);
  finding.Effect = finding.Advice = "";
  report.Add(finding);
  EXPECT_EQ(report.Text(false), "a:7: hint some-rule: it is wrong\n0 errors, 0 warnings, 1 hint\n");
}

TEST(Report, FileOutsideTheStationKeepsItsWholeName) {
  const Report report(Language::English, "/station");
  EXPECT_EQ(report.DisplayName("/station/a/b"), "a/b");
  EXPECT_EQ(report.DisplayName("/station/x/../b"), "b");
  EXPECT_EQ(report.DisplayName("/stations/b"), "/stations/b");
  EXPECT_EQ(report.DisplayName("/elsewhere"), "/elsewhere");
}

TEST(Report, SortsByFileThenLineThenColumn) {
  Report report(Language::English, "/s");
  for (const auto& [file, line, column] :
       {std::tuple{"/s/b", 1, 1}, {"/s/a", 10, 1}, {"/s/a", 9, 7}, {"/s/a", 9, 2}}) {
    report.Add(FindingAt(file, line, column, Severity::Hint));
  }
  std::string order;
  for (const Finding& finding : report.Findings()) {
    order += report.DisplayName(finding.Where.File) + std::to_string(finding.Where.Line) + "." +
             std::to_string(finding.Where.Column) + " ";
  }
  EXPECT_EQ(order, "a9.2 a9.7 a10.1 b1.1 ");
}

TEST(Report, StatusIsOneForErrorsAndWarningsButNotForHints) {
  Report hints(Language::English, "/s");
  hints.Add(FindingAt("/s/a", 1, 1, Severity::Hint));
  EXPECT_EQ(hints.Status(), 0);
  for (const Severity severity : {Severity::Error, Severity::Warning}) {
    Report report(Language::English, "/s");
    report.Add(FindingAt("/s/a", 1, 1, severity));
    EXPECT_EQ(report.Status(), 1);
  }
}

TEST(Report, JsonHasEveryFieldAndTheNumbers) {
  Report report(Language::German, "/s");
  report.Add(FindingAt("/s/a", 3, 0, Severity::Warning));
  const nlohmann::json json = nlohmann::json::parse(report.Json().dump());
  EXPECT_EQ(json, nlohmann::json::parse(R"({
    "findings": [{"file": "a", "line": 3, "column": 0, "severity": "warning", "rule": "some-rule",
                  "problem": "it is wrong", "effect": "does nothing", "advice": "another"}],
    "errors": 0, "warnings": 1, "hints": 0})"));
}

TEST(Report, ColourIsAroundTheSameWords) {
  Report report(Language::English, "/s");
  report.Add(FindingAt("/s/a", 3, 4, Severity::Error));
  std::string colored = report.Text(true);
  EXPECT_NE(colored.find("\x1b[1;31merror\x1b[0m"), std::string::npos);
  for (auto at = colored.find('\x1b'); at != std::string::npos; at = colored.find('\x1b', at))
    colored.erase(at, colored.find('m', at) + 1 - at);
  EXPECT_EQ(colored, report.Text(false));
}

}  // namespace

}  // namespace tools
