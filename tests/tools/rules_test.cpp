#include "check/rules.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <cctype>
#include <ostream>
#include <set>
#include <string>
#include <vector>

#include "demo_station.h"
#include "program.h"
#include "rule_fixture.h"

namespace tools {

namespace {

using ::testing::Contains;
using ::testing::ElementsAreArray;
using ::testing::EndsWith;
using ::testing::IsEmpty;
using ::testing::Not;
using toolstest::RuleFixture;
using toolstest::RuleFixtures;

class RuleFixtureTest : public ::testing::TestWithParam<RuleFixture> {};

/// The planted mistake is found at its place, and nothing else is.
TEST_P(RuleFixtureTest, FindsExactlyWhatIsExpected) {
  EXPECT_THAT(GetParam().Found(), ElementsAreArray(GetParam().Expected()));
}

std::string TestName(const ::testing::TestParamInfo<RuleFixture>& info) {
  std::string name = info.param.Rule + "_" + info.param.Name;
  std::replace(name.begin(), name.end(), '-', '_');
  return name;
}

INSTANTIATE_TEST_SUITE_P(Rules, RuleFixtureTest, ::testing::ValuesIn(RuleFixtures()), TestName);

/// Whether any fixture of the rule, of those whose name begins so, expects the rule or nothing.
bool HasFixture(std::string_view rule, const std::string& kind) {
  const auto fixtures = RuleFixtures();
  return std::any_of(fixtures.begin(), fixtures.end(), [&](const RuleFixture& fixture) {
    return fixture.Rule == rule && fixture.Name.starts_with(kind);
  });
}

TEST(Rules, EachHasAFailingAndAPassingFixture) {
  for (const Rule& rule : Rules()) {
    EXPECT_TRUE(HasFixture(rule.Id, "fail")) << rule.Id;
    EXPECT_TRUE(HasFixture(rule.Id, "pass")) << rule.Id;
  }
}

TEST(Rules, FixturesFailByTheirRuleAndPassWithoutAFinding) {
  for (const RuleFixture& fixture : RuleFixtures()) {
    if (fixture.Name.starts_with("fail")) {
      EXPECT_THAT(fixture.Expected(), Contains(EndsWith(" " + fixture.Rule))) << fixture.Path();
    } else {
      EXPECT_THAT(fixture.Expected(), IsEmpty()) << fixture.Path();
    }
  }
}

TEST(Rules, IdsAreDifferentWordsWithHyphens) {
  std::set<std::string_view> seen;
  for (const Rule& rule : Rules()) {
    EXPECT_TRUE(seen.insert(rule.Id).second) << rule.Id;
    EXPECT_TRUE(std::all_of(rule.Id.begin(), rule.Id.end(), [](char c) {
      return c == '-' || std::islower(static_cast<unsigned char>(c)) != 0;
    })) << rule.Id;
  }
}

TEST(Rules, AllTextsAreThereInBothLanguages) {
  for (const Rule& rule : Rules()) {
    for (const Bilingual& text :
         {rule.Title, rule.Problem, rule.Effect, rule.Advice, rule.Explanation}) {
      EXPECT_THAT(text.German, Not(IsEmpty())) << rule.Id;
      EXPECT_THAT(text.English, Not(IsEmpty())) << rule.Id;
    }
  }
}

TEST(Rules, PageInTheDocumentationIsTheOneOfTheProgram) {
  const toolstest::Ended ended = toolstest::RunTool({"check", "--rules", "--markdown"});
  EXPECT_EQ(ended.Status, 0);
  EXPECT_EQ(ended.Out, support::ReadFile((toolstest::Project() / "docs" / "rules.md").string()))
      << "write it by: ka-tts check --rules --markdown --lang en >docs/rules.md";
}

}  // namespace

}  // namespace tools
