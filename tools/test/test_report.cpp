#include "test/test_report.h"

#include <algorithm>
#include <nlohmann/json.hpp>

#include "common/terminal.h"
#include "preview/visible.h"
#include "test/word_difference.h"

namespace tools {

namespace {

using Outcome = BlockTest::Outcome;
using End = ExpectedTexts::End;
using nlohmann::ordered_json;

constexpr Bilingual kNew = {"noch keine erwarteten Texte; --accept übernimmt die jetzigen",
                            "no expected texts yet; --accept takes the present ones"};
constexpr Bilingual kBlockMissing = {"erwartete Texte ohne Block (.xml fehlt)",
                                     "expected texts without a block (the .xml is missing)"};
constexpr Bilingual kGone = {"kein Text mehr, erwartet: {0}", "no text any more, expected: {0}"};
constexpr Bilingual kUnexpected = {"nicht erwartet: {0}", "not expected: {0}"};
constexpr Bilingual kWasRefused = {"erwartet: der Block wird abgewiesen",
                                   "expected: the block is refused"};
constexpr Bilingual kWasGivenUp = {"erwartet: der Block wird aufgegeben",
                                   "expected: the block is given up"};
constexpr Bilingual kOrder = {"dieselben Texte in anderer Reihenfolge",
                              "the same texts in another order"};
constexpr Bilingual kSummary = {"{0} Blöcke: {1} wie erwartet, {2} anders",
                                "{0} blocks: {1} as expected, {2} different"};

const char* NameOf(Outcome outcome) {
  switch (outcome) {
    case Outcome::Passed:
      return "passed";
    case Outcome::Different:
      return "different";
    case Outcome::New:
      return "new";
    case Outcome::BlockMissing:
      return "block-missing";
  }
  return "";
}

std::string LineOf(const TextDifference& difference, Language language, bool colored) {
  const std::string name = Visible(difference.Name) + "  ";
  if (!difference.Present) return name + Say(kGone, language, Visible(*difference.Expected));
  if (!difference.Expected) return name + Say(kUnexpected, language, Visible(*difference.Present));
  return name + WordDifference(*difference.Expected, *difference.Present, colored);
}

void AddEnding(std::vector<std::string>& lines, const BlockTest& test, Language language) {
  if (test.ExpectedEnding == test.Present.Ending) return;
  if (test.ExpectedEnding == End::Rejected) lines.emplace_back(kWasRefused(language));
  if (test.ExpectedEnding == End::GivenUp) lines.emplace_back(kWasGivenUp(language));
  lines.insert(lines.end(), test.Refusals.begin(), test.Refusals.end());
}

std::size_t PassedCount(const std::vector<BlockTest>& tests) {
  return static_cast<std::size_t>(
      std::count_if(tests.begin(), tests.end(),
                    [](const BlockTest& test) { return test.Result == Outcome::Passed; }));
}

/// For an attribute's value or a text; characters that XML cannot have are shown by pictures.
std::string Escaped(std::string_view text) {
  std::string escaped;
  for (const char c : Visible(text)) {
    if (c == '&') {
      escaped += "&amp;";
    } else if (c == '<') {
      escaped += "&lt;";
    } else if (c == '"') {
      escaped += "&quot;";
    } else {
      escaped += c;
    }
  }
  return escaped;
}

ordered_json Optional(const std::optional<std::string>& text) {
  return text ? ordered_json(*text) : ordered_json(nullptr);
}

}  // namespace

std::vector<std::string> FailureLines(const BlockTest& test, Language language, bool colored) {
  std::vector<std::string> lines;
  if (test.Result == Outcome::New) lines.emplace_back(kNew(language));
  if (test.Result == Outcome::BlockMissing) lines.emplace_back(kBlockMissing(language));
  if (test.Result != Outcome::Different) return lines;
  AddEnding(lines, test, language);
  for (const TextDifference& difference : test.Differences)
    lines.push_back(LineOf(difference, language, colored));
  if (lines.empty()) lines.emplace_back(kOrder(language));
  return lines;
}

std::string TestText(const std::vector<BlockTest>& tests, Language language, bool colored) {
  std::string text;
  for (const BlockTest& test : tests) {
    if (test.Result == Outcome::Passed) continue;
    text += Painted(test.Name, Color::Bold, colored) + "\n";
    for (const std::string& line : FailureLines(test, language, colored))
      text += "  " + line + "\n";
  }
  const std::size_t passed = PassedCount(tests);
  return text + Say(kSummary, language, tests.size(), passed, tests.size() - passed) + "\n";
}

ordered_json TestJson(const std::vector<BlockTest>& tests) {
  ordered_json json{{"tests", ordered_json::array()}};
  for (const BlockTest& test : tests) {
    ordered_json one{{"block", test.Name}, {"result", NameOf(test.Result)}};
    one["refused"] = test.Refusals;
    one["differences"] = ordered_json::array();
    for (const TextDifference& difference : test.Differences) {
      one["differences"].push_back({{"name", difference.Name},
                                    {"expected", Optional(difference.Expected)},
                                    {"present", Optional(difference.Present)}});
    }
    json["tests"].push_back(std::move(one));
  }
  json["passed"] = PassedCount(tests);
  json["failed"] = tests.size() - PassedCount(tests);
  return json;
}

std::string TestJUnit(const std::vector<BlockTest>& tests, Language language) {
  const std::string numbers = "tests=\"" + std::to_string(tests.size()) + "\" failures=\"" +
                              std::to_string(tests.size() - PassedCount(tests)) + "\"";
  std::string xml = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<testsuites " + numbers +
                    ">\n <testsuite name=\"ka-tts\" " + numbers + ">\n";
  for (const BlockTest& test : tests) {
    xml += "  <testcase classname=\"ka-tts.texts\" name=\"" + Escaped(test.Name) + "\"";
    const std::vector<std::string> lines = FailureLines(test, language, false);
    if (lines.empty()) {
      xml += "/>\n";
      continue;
    }
    xml += ">\n   <failure message=\"" + Escaped(lines.front()) + "\">";
    for (const std::string& line : lines)
      xml += Escaped(line) + "\n";
    xml += "</failure>\n  </testcase>\n";
  }
  return xml + " </testsuite>\n</testsuites>\n";
}

}  // namespace tools
