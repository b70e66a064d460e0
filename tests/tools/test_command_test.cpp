// `ka-tts test` as a program, first of all on the demo station's own texts.

#include <gmock/gmock.h>

#include <filesystem>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "demo_station.h"
#include "program.h"
#include "support/temp_dir.h"

namespace toolstest {

namespace {

namespace fs = std::filesystem;
using ::testing::EndsWith;
using ::testing::HasSubstr;

class TestCommand : public ::testing::Test {
 protected:
  Ended Test(std::vector<std::string> options = {}) const {
    options.insert(options.begin(), {"test", "--station", demo.Dir()});
    return RunTool(options);
  }
  std::string Blocks(const std::string& file) const {
    return demo.Sub("announcements/blocks/" + file);
  }
  std::string Expected(const std::string& name) const {
    return support::ReadFile(Blocks(name + ".expected"));
  }
  void PlantChange() const {
    demo.Replace("announcements/blocks/departure-delayed-15.expected",
                 "heute zirka 15 Minuten später", "heute zirka 16 Minuten später");
  }

  DemoStation demo;
};

TEST_F(TestCommand, DemoStationSaysWhatIsExpected) {
  const Ended ended = Test();
  EXPECT_EQ(ended.Status, 0) << ended.Out << ended.Err;
  EXPECT_THAT(ended.Out, EndsWith(" as expected, 0 different\n"));
}

TEST_F(TestCommand, ChangedTextIsShownWordByWordAndEndsWithOne) {
  PlantChange();
  const Ended ended = Test();
  EXPECT_EQ(ended.Status, 1);
  EXPECT_THAT(ended.Out, HasSubstr("departure-delayed-15\n  de0  \\voice(de) \\rate(155) "));
  EXPECT_THAT(ended.Out, HasSubstr("heute zirka [-16-]{+15+} Minuten später"));
  EXPECT_THAT(ended.Out, EndsWith(" as expected, 1 different\n"));
}

TEST_F(TestCommand, AcceptWritesTheTextsAsTheyWere) {
  const std::string before = Expected("departure-delayed-15");
  PlantChange();
  const Ended ended = Test({"--accept"});
  EXPECT_EQ(ended.Status, 0);
  EXPECT_THAT(ended.Out, HasSubstr("accepted: departure-delayed-15\n"));
  EXPECT_EQ(Expected("departure-delayed-15"), before);
  EXPECT_EQ(Test().Status, 0);
}

TEST_F(TestCommand, AcceptMakesAllExpectedFilesOfTheDemoStation) {
  std::vector<std::string> names;
  for (const auto& entry : fs::directory_iterator(Blocks("")))
    if (entry.path().extension() == ".expected") names.push_back(entry.path().stem());
  for (const std::string& name : names)
    fs::remove(Blocks(name + ".expected"));
  EXPECT_EQ(Test({"--accept"}).Status, 0);
  for (const std::string& name : names) {
    EXPECT_EQ(Expected(name),
              support::ReadFile(
                  (Project() / "announcements" / "blocks" / (name + ".expected")).string()));
  }
}

TEST_F(TestCommand, BlockWithoutExpectedTextsFailsUntilTheyAreAccepted) {
  demo.Write("announcements/blocks/new.xml", support::ReadFile(Blocks("several-rows.xml")));
  const Ended ended = Test();
  EXPECT_EQ(ended.Status, 1);
  EXPECT_THAT(ended.Out, HasSubstr("new\n  no expected texts yet; --accept"));
  EXPECT_EQ(Test({"--accept"}).Status, 0);
  EXPECT_EQ(Expected("new"), Expected("several-rows"));
}

TEST_F(TestCommand, ExpectedTextsWithoutBlockFail) {
  fs::remove(Blocks("several-rows.xml"));
  const Ended ended = Test({"--accept"});
  EXPECT_EQ(ended.Status, 1);
  EXPECT_THAT(ended.Out, HasSubstr("several-rows\n  expected texts without a block"));
}

TEST_F(TestCommand, BlockThatIsRefusedNowTellsWhy) {
  demo.Replace("announcements/blocks/departure-delayed-15.xml", "time=\"09:04\"", "time=\"\"");
  const Ended ended = Test();
  EXPECT_EQ(ended.Status, 1);
  EXPECT_THAT(ended.Out, HasSubstr("no value for the required attribute time"));
  EXPECT_THAT(ended.Out, HasSubstr("de0  no text any more, expected: \\voice"));
}

TEST_F(TestCommand, BlockThatIsTakenNowTellsThat) {
  demo.Write("announcements/blocks/missing-time.xml",
             support::ReadFile(Blocks("several-rows.xml")));
  EXPECT_THAT(Test().Out, HasSubstr("missing-time\n  expected: the block is refused\n  de0  not "
                                    "expected: "));
}

TEST_F(TestCommand, OtherDirectoryStandsBehindTheOptions) {
  const support::TempDir directory;
  EXPECT_EQ(Test({directory.Path()}).Status, 2) << "no blocks";
  EXPECT_EQ(Test({directory.Sub("none")}).Status, 2);
  directory.Write("one.xml", "<b/>");
  directory.Write("one.expected", "rejected\n");
  EXPECT_EQ(Test({directory.Path()}).Status, 0);
}

TEST_F(TestCommand, TextOfSeveralLinesIsAcceptedAndTested) {
  demo.Replace("announcements/blocks/several-rows.xml", "dest=\"Rheine\"", "dest=\"a&#10;&#9;b\"");
  EXPECT_EQ(Test({"--accept"}).Status, 0);
  EXPECT_THAT(Expected("several-rows"), HasSubstr("nach a\n\t\tb, Abfahrt"));
  EXPECT_EQ(Test().Status, 0);
}

TEST_F(TestCommand, JUnitFileAndJsonHaveTheFailure) {
  PlantChange();
  const Ended ended = Test({"--json", "--junit", demo.Sub("junit.xml")});
  EXPECT_EQ(ended.Status, 1);
  const nlohmann::json json = nlohmann::json::parse(ended.Out);
  EXPECT_EQ(json.at("failed"), 1);
  const std::string xml = support::ReadFile(demo.Sub("junit.xml"));
  EXPECT_THAT(xml, HasSubstr("failures=\"1\""));
  EXPECT_THAT(xml, HasSubstr("{+15+}"));
}

TEST_F(TestCommand, FileThatCannotBeWrittenEndsWithTwo) {
  EXPECT_EQ(Test({"--junit", demo.Sub("none/junit.xml")}).Status, 2);
}

TEST_F(TestCommand, WithoutAcceptNoFileChanges) {
  PlantChange();
  const std::string before = Expected("departure-delayed-15");
  Test();
  EXPECT_EQ(Expected("departure-delayed-15"), before);
}

}  // namespace

}  // namespace toolstest
