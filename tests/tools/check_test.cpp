#include <gmock/gmock.h>

#include <algorithm>
#include <filesystem>
#include <map>
#include <nlohmann/json.hpp>
#include <string>
#include <utility>
#include <vector>

#include "demo_station.h"
#include "program.h"
#include "support/temp_dir.h"

namespace toolstest {

namespace {

using ::testing::HasSubstr;
using ::testing::Not;
using ::testing::StartsWith;

/// The demo station; a test may plant the mistake of a phrase directly before the end tag.
class CheckCommand : public ::testing::Test {
 protected:
  /// A document of 9 lines whose only announcement ends in a Speech at 5:7.
  void PlantMistake() const {
    demo.Write("announcements/station.xml", R"(<Station>
  <References><Language name="de"><Voice sex="male">de</Voice>
  <Element id="x" trait="temp"/></Language></References>
  <Assembly><Language name="de"><Announcement position="0"> ä
      <Speech id="x"/></Announcement></Language>
    <RBLFormat minrows="1" maxrows="2"><Attribute name="x" assignto="x"/></RBLFormat>
    <Case id="c" substr="x" type="string" begin="0" end="-1" operator="eq" value="1"/>
  </Assembly>
</Station>
)");
  }
  Ended Check(std::vector<std::string> options = {},
              const std::vector<std::pair<std::string, std::string>>& environment = {}) const {
    options.insert(options.begin(), {"check", "--station", demo.Dir()});
    return RunTool(options, environment);
  }

  DemoStation demo;
};

TEST_F(CheckCommand, DemoStationHasNoErrorAndNoWarning) {
  const Ended ended = Check();
  EXPECT_EQ(ended.Status, 0) << ended.Out;
  EXPECT_THAT(ended.Out, HasSubstr("0 errors, 0 warnings, "));
  EXPECT_EQ(ended.Err, "");
}

TEST_F(CheckCommand, MistakeIsPrintedWithItsPlaceAndEndsWithOne) {
  PlantMistake();
  const Ended ended = Check();
  EXPECT_EQ(ended.Status, 1);
  EXPECT_THAT(ended.Out, HasSubstr("announcements/station.xml:5:7: error condition-last-node: "
                                   "<Speech> stands directly before </Announcement>\n"
                                   "    server: It does not read"));
  EXPECT_THAT(ended.Out, HasSubstr("\n    write: a line break"));
  EXPECT_THAT(ended.Out, Not(HasSubstr("\x1b")));
  EXPECT_EQ(ended.Err, "");
}

TEST_F(CheckCommand, GermanByOptionAndByLocale) {
  PlantMistake();
  const std::string words = "<Speech> steht unmittelbar vor </Announcement>";
  EXPECT_THAT(Check({"--lang", "de"}).Out, HasSubstr(words));
  EXPECT_THAT(Check({}, {{"LC_ALL", "de_DE.UTF-8"}}).Out, HasSubstr(words));
  EXPECT_THAT(Check({"--lang", "en"}, {{"LC_ALL", "de_DE.UTF-8"}}).Out, Not(HasSubstr(words)));
}

TEST_F(CheckCommand, JsonHasTheSameFinding) {
  PlantMistake();
  const Ended ended = Check({"--json"});
  EXPECT_EQ(ended.Status, 1);
  const nlohmann::json json = nlohmann::json::parse(ended.Out);
  ASSERT_GE(json.at("findings").size(), 1U);
  const auto finding = std::find_if(
      json.at("findings").begin(), json.at("findings").end(),
      [](const nlohmann::json& one) { return one.at("rule") == "condition-last-node"; });
  ASSERT_NE(finding, json.at("findings").end());
  EXPECT_EQ(finding->at("line"), 5);
  EXPECT_EQ(finding->at("column"), 7);
  EXPECT_EQ(finding->at("file"), "announcements/station.xml");
  EXPECT_GE(json.at("errors"), 1);
}

TEST_F(CheckCommand, ColourOnlyWhereItIsAskedForOrATerminal) {
  PlantMistake();
  EXPECT_THAT(Check({"--color=always"}).Out, HasSubstr("\x1b[1;31merror\x1b[0m"));
  EXPECT_THAT(Check({"--color=always"}, {{"NO_COLOR", "1"}}).Out, HasSubstr("\x1b["));
  EXPECT_THAT(Check({"--color=never"}).Out, Not(HasSubstr("\x1b")));
  EXPECT_THAT(Check({"--color=auto"}).Out, Not(HasSubstr("\x1b"))) << "a file is no terminal";
}

TEST_F(CheckCommand, ChangesNothingInTheStation) {
  const auto listing = [this] {
    std::map<std::string, std::string> files;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(demo.Dir())) {
      const bool isFile = entry.is_regular_file();
      files[entry.path()] = isFile ? support::ReadFile(entry.path()) : "";
    }
    return files;
  };
  const auto before = listing();
  Check();
  EXPECT_EQ(listing(), before);
}

TEST_F(CheckCommand, ExplainsARule) {
  const Ended ended = RunTool({"check", "--explain", "condition-last-node"});
  EXPECT_EQ(ended.Status, 0);
  EXPECT_THAT(ended.Out, StartsWith("condition-last-node (error)\nA Speech or Condition is"));
  EXPECT_THAT(RunTool({"check", "--explain", "condition-last-node", "--lang=de"}).Out,
              HasSubstr("Der Server sieht sich"));
}

TEST_F(CheckCommand, RuleThatDoesNotExistEndsWithTwo) {
  const Ended ended = RunTool({"check", "--explain", "none"});
  EXPECT_EQ(ended.Status, 2);
  EXPECT_THAT(ended.Err, HasSubstr("there is no rule \"none\""));
}

TEST_F(CheckCommand, ListsTheRules) {
  const Ended ended = RunTool({"check", "--rules"});
  EXPECT_EQ(ended.Status, 0);
  EXPECT_THAT(ended.Out, ::testing::ContainsRegex("condition-last-node +error +A Speech"));
  const nlohmann::json json = nlohmann::json::parse(RunTool({"check", "--rules", "--json"}).Out);
  EXPECT_THAT(json.dump(), HasSubstr("\"condition-last-node\""));
}

}  // namespace

}  // namespace toolstest
