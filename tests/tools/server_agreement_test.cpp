#include <gmock/gmock.h>

#include <algorithm>
#include <set>
#include <stdexcept>
#include <string>
#include <vector>

#include "common/station.h"
#include "demo_station.h"
#include "kaCaseCheck.h"
#include "kaRBLDataContent.h"
#include "kaSpeechbuilder.h"
#include "rule_fixture.h"

namespace toolstest {

namespace {

/// What the server makes of a station and its sample blocks.
enum class Outcome { NoPort, GivesBlocksUp, Works };

/// Composes all texts of a block. \throws std::out_of_range where the server gives the block up
void ComposeBlock(CkaSpeechbuilder& builder, const std::string& block) {
  CkaRBLDataContent content;
  ASSERT_TRUE(content.Initialize(block, false, true));
  content.ReadContent();
  for (int row = 0; row < content.GetRowCount(); ++row) {
    CkaCaseCheck cases;
    cases.Initialize(&builder.CaseData, &content);
    cases.CheckForRow(row);
    for (int lang = 0; lang < builder.SpeechFormat.GetLanguageCount(); ++lang) {
      std::vector<kaReport> reports;
      builder.ComposeText(content, cases, row, lang, reports);
    }
  }
}

/// A block with every attribute that the demo station knows.
constexpr const char* kFullBlock =
    R"(<rbl><row event="D" category="RE" number="1" line="2" origin="A" dest="B" via="C" time="9:04"
 delay="5" track="1" newtrack="2" sector="A-C" reason="01" flags="W"/><row event="A" category="S"
 time="9:14" track="1"/></rbl>)";

Outcome OutcomeOf(const std::string& directory) {
  Outcome outcome = Outcome::Works;
  tools::Silently([&] {
    const tools::Station station(directory);
    CkaSpeechbuilder builder;
    try {
      if (!builder.Initialize(station.Document())) outcome = Outcome::NoPort;
    } catch (const std::out_of_range&) {
      outcome = Outcome::NoPort;
    }
    if (outcome == Outcome::NoPort) return;
    try {
      ComposeBlock(builder, kFullBlock);
    } catch (const std::out_of_range&) {
      outcome = Outcome::GivesBlocksUp;
    }
  });
  return outcome;
}

Outcome ExpectedOutcome(const RuleFixture& fixture) {
  const std::set<std::string> noPort = {
      "section-missing",    "voice-missing",     "voice-faulty",       "trait-unknown",
      "rows-min-above-max", "cases-none-simple", "document-unreadable"};
  const std::set<std::string> givesUp = {"announcement-gives-up-block", "case-begin-negative",
                                         "case-open-end", "language-without-announcements"};
  if (!fixture.Name.starts_with("fail")) return Outcome::Works;
  const bool isMinimum = fixture.Rule == "rows-negative" && fixture.Name == "fail";
  if (noPort.contains(fixture.Rule) || isMinimum) return Outcome::NoPort;
  return givesUp.contains(fixture.Rule) ? Outcome::GivesBlocksUp : Outcome::Works;
}

class ServerAgreement : public ::testing::TestWithParam<RuleFixture> {};

/// The rules say where the server opens no port and where it gives blocks up. It does so there, and
/// nowhere else.
TEST_P(ServerAgreement, DoesWhatTheRuleSays) {
  const DemoStation demo;
  EXPECT_EQ(OutcomeOf(GetParam().Stage(demo)), ExpectedOutcome(GetParam()));
}

std::string TestName(const ::testing::TestParamInfo<RuleFixture>& info) {
  std::string name = info.param.Rule + "_" + info.param.Name;
  std::replace(name.begin(), name.end(), '-', '_');
  return name;
}

INSTANTIATE_TEST_SUITE_P(Rules, ServerAgreement, ::testing::ValuesIn(RuleFixtures()), TestName);

}  // namespace

}  // namespace toolstest
