#include <gmock/gmock.h>
#include <unistd.h>

#include <filesystem>
#include <map>
#include <nlohmann/json.hpp>
#include <sstream>
#include <string>
#include <vector>

#include "coverage_station.h"
#include "support/temp_dir.h"

namespace toolstest {

namespace {

using nlohmann::json;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;

// What the blocks of the fixture reach, counted by hand.
//
// Four files end in .xml. In 3-no-destination.xml the required attribute "dest" is empty, and
// 4-broken.xml is no XML: both are refused. A block has two rows at most, so that of
// 2-surplus-row.xml the third row does not count. That leaves four rows:
//
//   A  row 0 of block 1   dest="Halle (Saale) Hbf"  delay="10"
//   B  row 1 of block 1   dest="Hannover Hbf"       delay="2"
//   C  row 0 of block 2   dest="Leipzig Hbf"
//   D  row 1 of block 2   dest="Dessau Hbf"         delay="5"
//
// Announcements: the first for A and C, the second for B and D.
// Cases: "delayed" (delay >= 5) is true for A and D, false for B and C; "toHamburg" is false for
// all; "named" (dest has a length) is true for all; "both" (delayed and toHamburg) is false for
// all; "lost" refers to a case that does not exist, so that the server does not have it at all.
// Phrases of the first announcement: "gong" and "dest" for A and C; "delay" and "late", which need
// "delayed", for A; the two behind "toHamburg" and "both" never. Of the second: "dest" for B and D;
// "late" for D; "gong" never, since it stands directly before the end tag.
// Attributes with a value: "dest" in all rows; "delay" in A, B, D; "platform" in none: it stands in
// the third row of block 2 and in a refused block.
// Elements: "gong" with A and C (first announcement only); "late" with A and D; "dest" with all;
// "delay" with A; "unused" never.
// Lexicon: "Hbf" in all values; "(Saale)" in that of A; "Str." never.
struct Count {
  std::string Name;
  int Line;
  int Hits;

  bool operator==(const Count&) const = default;
};

void PrintTo(const Count& count, std::ostream* out) {
  *out << count.Name << " in line " << count.Line << ": " << count.Hits;
}

std::vector<Count> CountsOf(const json& coverage, const std::string& kind) {
  std::vector<Count> counts;
  for (const json& item : coverage.at("items")) {
    if (item.at("kind") != kind) continue;
    counts.push_back({item.at("name"), item.at("line"), item.at("hits")});
  }
  return counts;
}

std::string AdviceOf(const json& coverage, const std::string& kind, const std::string& name) {
  for (const json& item : coverage.at("items"))
    if (item.at("kind") == kind && item.at("name") == name) return item.value("advice", "");
  return "no such item";
}

TEST_F(CoverageStation, EveryItemIsCountedAsByHand) {
  const Ended ended = Coverage({"--json", blocks});
  EXPECT_EQ(ended.Status, 0) << ended.Err;
  const json coverage = json::parse(ended.Out);
  EXPECT_THAT(CountsOf(coverage, "announcements"),
              ElementsAre(Count{"de 0", 17, 2}, Count{"de 1", 27, 2}));
  EXPECT_THAT(
      CountsOf(coverage, "phrases"),
      ElementsAre(Count{"gong", 18, 2}, Count{"dest", 19, 2}, Count{"delay (delayed)", 21, 1},
                  Count{"late (delayed)", 22, 1}, Count{"gong (toHamburg)", 24, 0},
                  Count{"late (both)", 25, 0}, Count{"dest", 28, 2}, Count{"late (delayed)", 29, 1},
                  Count{"gong", 30, 0}));
  EXPECT_THAT(CountsOf(coverage, "casesTrue"),
              ElementsAre(Count{"delayed", 37, 2}, Count{"toHamburg", 38, 0}, Count{"named", 40, 4},
                          Count{"both", 41, 0}, Count{"lost", 42, 0}));
  EXPECT_THAT(CountsOf(coverage, "casesFalse"),
              ElementsAre(Count{"delayed", 37, 2}, Count{"toHamburg", 38, 4}, Count{"named", 40, 0},
                          Count{"both", 41, 4}, Count{"lost", 42, 0}));
  EXPECT_THAT(CountsOf(coverage, "attributes"),
              ElementsAre(Count{"dest", 33, 4}, Count{"delay", 34, 3}, Count{"platform", 35, 0}));
  EXPECT_THAT(CountsOf(coverage, "elements"),
              ElementsAre(Count{"gong", 6, 2}, Count{"late", 7, 2}, Count{"unused", 8, 0},
                          Count{"dest", 11, 4}, Count{"delay", 12, 1}));
  EXPECT_THAT(CountsOf(coverage, "lexiconEntries"),
              ElementsAre(Count{"Hbf", 2, 4}, Count{"(Saale)", 3, 1}, Count{"Str.", 4, 0}));
}

TEST_F(CoverageStation, SharesAreTheSameInJsonAndText) {
  const json coverage = json::parse(Coverage({"--json", blocks}).Out);
  const std::string expected = R"({
    "announcements": {"reached": 2, "total": 2, "percent": 100.0},
    "phrases": {"reached": 6, "total": 9, "percent": 66.6},
    "casesTrue": {"reached": 2, "total": 5, "percent": 40.0},
    "casesFalse": {"reached": 3, "total": 5, "percent": 60.0},
    "attributes": {"reached": 2, "total": 3, "percent": 66.6},
    "elements": {"reached": 4, "total": 5, "percent": 80.0},
    "lexiconEntries": {"reached": 2, "total": 3, "percent": 66.6}})";
  EXPECT_EQ(coverage.at("kinds"), json::parse(expected));
  // 2 + 6 + 2 + 3 + 2 + 4 of 2 + 9 + 5 + 5 + 3 + 5; without the lexicon.
  EXPECT_EQ(coverage.at("total"), json::parse(R"({"reached":19,"total":29,"percent":65.5})"));
  EXPECT_THAT(Coverage({blocks}).Out, HasSubstr("announcements         2 of      2    100.0 %\n"
                                                "phrases               6 of      9     66.6 %\n"
                                                "cases: true           2 of      5     40.0 %\n"
                                                "cases: false          3 of      5     60.0 %\n"
                                                "attributes            2 of      3     66.6 %\n"
                                                "elements              4 of      5     80.0 %\n"
                                                "whole document       19 of     29     65.5 %\n"
                                                "lexicon entries       2 of      3     66.6 %\n"));
}

TEST_F(CoverageStation, RefusedBlocksAreCountedAndNamed) {
  const json coverage = json::parse(Coverage({"--json", blocks}).Out);
  EXPECT_EQ(coverage.at("blocks"), 4);
  EXPECT_EQ(coverage.at("rows"), 4);
  ASSERT_EQ(coverage.at("refused").size(), 2U);
  EXPECT_EQ(coverage.at("refused").at(0).at("file"), blocks + "/3-no-destination.xml");
  EXPECT_EQ(coverage.at("refused").at(1).at("file"), blocks + "/4-broken.xml");
  const std::string text = Coverage({blocks}).Out;
  EXPECT_THAT(text, HasSubstr("blocks: 4, rows: 4, refused blocks: 2\n"));
  EXPECT_THAT(text,
              HasSubstr("3-no-destination.xml: an attribute that must have a value has none"));
  EXPECT_THAT(text, HasSubstr("4-broken.xml: is no XML"));
}

TEST_F(CoverageStation, TooFewRowsAreRefused) {
  const std::string block = station.Write("empty.xml", "<rbl/>");
  EXPECT_THAT(Coverage({block}).Out, HasSubstr("empty.xml: has too few rows"));
}

TEST_F(CoverageStation, BlockThatTheServerGivesUpReachesNothing) {
  station.Replace("announcements/station.xml", R"(begin="0" end="6")", R"(begin="9" end="-1")");
  // The first row is long enough for the case; the second is not, and nothing of the block is
  // heard.
  const std::string block =
      station.Write("short.xml", R"(<rbl><row dest="Halle (Saale) Hbf"/><row dest="Ulm"/></rbl>)");
  const json coverage = json::parse(Coverage({"--json", block}).Out);
  ASSERT_EQ(coverage.at("refused").size(), 1U);
  EXPECT_THAT(coverage.at("refused").at(0).at("reason"), HasSubstr("gives it up"));
  EXPECT_EQ(coverage.at("rows"), 0);
  for (const json& item : coverage.at("items"))
    EXPECT_EQ(item.at("hits"), 0) << item;
}

TEST_F(CoverageStation, MissingTellsWhatWouldReachIt) {
  const Ended ended = Coverage({"--missing", blocks});
  EXPECT_EQ(ended.Status, 0);
  for (const char* line :
       {"station.xml:24:37: phrase \"gong (toHamburg)\": the case \"toHamburg\" was never true\n",
        "station.xml:25:32: phrase \"late (both)\": the case \"both\" was never true\n",
        "station.xml:30:9: phrase \"gong\": the server does not read this\n",
        "station.xml:38:5: case, true \"toHamburg\": true with dest=\"Hamburg\"\n",
        // Without a destination the block is refused, so the length is never 0.
        "station.xml:40:5: case, false \"named\": no value of dest found that makes it false\n",
        "station.xml:41:5: case, true \"both\": all must be true; never true: toHamburg\n",
        "station.xml:42:5: case, true \"lost\": the server does not take this case",
        "station.xml:35:7: attribute \"platform\": no row had a value for it\n",
        "station.xml:8:7: element \"unused\": no phrase that was spoken refers to it\n",
        "lexidata/de/stations:4: lexicon entry \"Str.\": replaced in no value\n"}) {
    EXPECT_THAT(ended.Out, HasSubstr(line));
  }
  EXPECT_THAT(Coverage({blocks}).Out, Not(HasSubstr("Never reached")));
}

TEST_F(CoverageStation, ValueOfTheAdviceReachesTheCase) {
  const std::string block =
      station.Write("advised.xml", R"(<rbl><row dest="Hamburg" delay="5"/></rbl>)");
  const json coverage = json::parse(Coverage({"--json", blocks, block}).Out);
  EXPECT_THAT(CountsOf(coverage, "casesTrue"),
              ElementsAre(Count{"delayed", 37, 3}, Count{"toHamburg", 38, 1}, Count{"named", 40, 5},
                          Count{"both", 41, 1}, Count{"lost", 42, 0}));
}

TEST_F(CoverageStation, AdviceOfCombinationsNamesTheirParts) {
  station.Replace("announcements/station.xml", "    <Case id=\"lost\" operator=\"OR\">",
                  R"(<Case id="and" operator="AND"><Case ref="early"/><Case ref="delayed"/></Case>
<Case id="or" operator="OR"><Case ref="toHamburg"/><Case ref="both"/></Case>
<Case id="nor" operator="NOR"><Case ref="named"/><Case ref="delayed"/></Case>
<Case id="not" operator="NOT"><Case ref="named"/></Case>
<Case id="early" substr="delay" type="number" begin="0" end="-1" operator="lt" value="5"/>
<Case id="empty" operator="AND"></Case>
<Case id="lost" operator="OR">)");
  const json coverage = json::parse(Coverage({"--json", blocks}).Out);
  EXPECT_EQ(AdviceOf(coverage, "casesTrue", "and"), "never all true in one row: early, delayed");
  EXPECT_EQ(AdviceOf(coverage, "casesTrue", "or"), "one must be true: toHamburg, both");
  EXPECT_EQ(AdviceOf(coverage, "casesTrue", "nor"), "all must be false; never false: named");
  EXPECT_EQ(AdviceOf(coverage, "casesTrue", "not"), "one must be false: named");
  EXPECT_THAT(AdviceOf(coverage, "casesTrue", "empty"), HasSubstr("always false"));
  EXPECT_EQ(AdviceOf(coverage, "casesFalse", "and"), "") << "it was false";
}

TEST_F(CoverageStation, RejectedTestAndSecondOfOneNameAreTheCasesOfTheServer) {
  // The operator of the first is unknown: the server keeps the name for a case without parts. Of
  // two tests with one name both are evaluated, in the order of the document.
  station.Replace(
      "announcements/station.xml", "    <Case id=\"named\"",
      R"(<Case id="odd" substr="delay" type="number" begin="0" end="-1" operator="is" value="5"/>
<Case id="twice" strlen="delay" operator="gt" value="0"/>
<Case id="twice" strlen="delay" operator="gt" value="1"/>
    <Case id="named")");
  const json coverage = json::parse(Coverage({"--json", blocks}).Out);
  // Of the values "10", "2", "" and "5" three are longer than 0 bytes and one longer than 1.
  EXPECT_THAT(CountsOf(coverage, "casesTrue"),
              ElementsAre(Count{"delayed", 37, 2}, Count{"toHamburg", 38, 0}, Count{"odd", 40, 0},
                          Count{"twice", 41, 3}, Count{"twice", 42, 1}, Count{"named", 43, 4},
                          Count{"both", 44, 0}, Count{"lost", 45, 0}));
  EXPECT_THAT(AdviceOf(coverage, "casesTrue", "odd"), HasSubstr("always false"));
}

TEST_F(CoverageStation, CaseTrueOnlyInOtherRowsIsTold) {
  // "delayed" holds for row 1 alone; the phrase of the first announcement stays silent.
  const std::string block =
      station.Write("b.xml", R"(<rbl><row dest="Ulm"/><row dest="Ulm" delay="9"/></rbl>)");
  EXPECT_THAT(
      Coverage({"--missing", block}).Out,
      HasSubstr("21:11: phrase \"delay (delayed)\": the case \"delayed\" was true in no row "
                "of this announcement"));
}

TEST_F(CoverageStation, PhrasesWithoutTheirElementOrCaseAreSilent) {
  station.Replace(
      "announcements/station.xml", R"(<Condition name="both"><Speech id="late"/></Condition>)",
      R"(<Speech id="nothing"/><Condition name="none"><Speech id="late"/></Condition>)");
  const std::string text = Coverage({"--missing", blocks}).Out;
  EXPECT_THAT(text, HasSubstr("25:9: phrase \"nothing\": the language has no element \"nothing\""));
  EXPECT_THAT(text, HasSubstr("phrase \"late (none)\": there is no case \"none\""));
}

TEST_F(CoverageStation, AnnouncementOfFurtherRowsNeedsThem) {
  const std::string block = station.Write("b.xml", R"(<rbl><row dest="Ulm"/></rbl>)");
  const std::string text = Coverage({"--missing", block}).Out;
  EXPECT_THAT(text, HasSubstr("27:7: announcement \"de 1\": no block had a row 1"));
  EXPECT_THAT(text, HasSubstr("28:9: phrase \"dest\": its announcement was never chosen"));
}

TEST_F(CoverageStation, ThirdAnnouncementIsNeverChosen) {
  station.Replace("announcements/station.xml", "<Speech id=\"gong\"/></Announcement>\n",
                  "<Speech id=\"gong\"/></Announcement>\n<Announcement position=\"2\">\n"
                  "</Announcement>\n");
  EXPECT_THAT(Coverage({"--missing", blocks}).Out,
              HasSubstr("31:1: announcement \"de 2\": the server never chooses this announcement"));
}

TEST_F(CoverageStation, SharedElementWinsOverTheLanguagesOwn) {
  station.Replace("announcements/station.xml", R"(<Element id="unused" trait="sound"/>)",
                  R"(<Element id="dest" trait="temp"/>)");
  const json coverage = json::parse(Coverage({"--json", blocks}).Out);
  EXPECT_THAT(CountsOf(coverage, "elements"),
              ElementsAre(Count{"gong", 6, 2}, Count{"late", 7, 2}, Count{"dest", 8, 0},
                          Count{"dest", 11, 4}, Count{"delay", 12, 1}));
}

TEST_F(CoverageStation, LexiconThatDoesNotExistHasNoEntries) {
  std::filesystem::remove(station.Sub("lexidata/de/stations"));
  const json coverage = json::parse(Coverage({"--json", blocks}).Out);
  EXPECT_THAT(CountsOf(coverage, "lexiconEntries"), IsEmpty());
  EXPECT_EQ(coverage.at("kinds").at("lexiconEntries").at("percent"), 100.0);
  EXPECT_EQ(coverage.at("total").at("reached"), 19);
}

TEST_F(CoverageStation, MessageIsCutAsTheServerCutsIt) {
  // What follows the last tag does not belong to the block.
  const std::string block =
      station.Write("b.xml", "<rbl><row dest=\"Ulm\"/></rbl>\r\nfiller without a tag");
  EXPECT_EQ(json::parse(Coverage({"--json", block}).Out).at("rows"), 1);
  const std::string cut = station.Write("c.xml", "<rbl><row dest=\"Ulm///\"/></rbl>");
  EXPECT_EQ(json::parse(Coverage({"--json", cut}).Out).at("refused").size(), 1U);
  const std::string longer = station.Write(
      "d.xml", "<rbl><row dest=\"Ulm\" delay=\"" + std::string(12000, '1') + "\"/></rbl>");
  EXPECT_EQ(json::parse(Coverage({"--json", longer}).Out).at("refused").size(), 1U);
}

TEST_F(CoverageStation, DirectoriesBelowCountToo) {
  station.Write("days/monday/1.xml", R"(<rbl><row dest="Ulm"/></rbl>)");
  station.Write("days/tuesday/1.xml", R"(<rbl><row dest="Ulm"/></rbl>)");
  const json coverage = json::parse(Coverage({"--json", station.Sub("days"), blocks}).Out);
  EXPECT_EQ(coverage.at("blocks"), 6);
  EXPECT_EQ(coverage.at("rows"), 6);
}

TEST_F(CoverageStation, FailUnderComparesTheWholeDocument) {
  // 19 of 29 are 65.517... per cent.
  EXPECT_EQ(Coverage({"--fail-under", "65.5", blocks}).Status, 0);
  const Ended ended = Coverage({"--fail-under", "65.6", blocks});
  EXPECT_EQ(ended.Status, 1);
  EXPECT_THAT(ended.Err, HasSubstr("reached: 65.5 %, required: 65.6 %"));
  EXPECT_EQ(Coverage({"--fail-under", "101", blocks}).Status, 2);
}

TEST_F(CoverageStation, CouldNotRunEndsWithTwo) {
  EXPECT_EQ(Coverage({}).Status, 2);
  EXPECT_EQ(Coverage({station.Sub("none.xml")}).Status, 2);
  std::filesystem::create_directory(station.Sub("empty"));
  const Ended none = Coverage({station.Sub("empty")});
  EXPECT_EQ(none.Status, 2);
  EXPECT_THAT(none.Err, HasSubstr("holds no blocks"));
  EXPECT_EQ(Coverage({"--html", station.Sub("none/page.html"), blocks}).Status, 2);
}

TEST_F(CoverageStation, DocumentWithWhichNoPortOpensEndsWithTwo) {
  const std::string document = support::ReadFile(station.Sub("announcements/station.xml"));
  station.Write("announcements/station.xml", "<Station/>");
  EXPECT_THAT(Coverage({blocks}).Err, HasSubstr("the server opens no port"));
  EXPECT_EQ(Coverage({blocks}).Status, 2);
  station.Write("announcements/station.xml", document.substr(0, document.size() / 2));
  EXPECT_EQ(Coverage({blocks}).Status, 2);
  station.Write("announcements/station.xml",
                document.substr(0, document.find("    <Case ")) + "  </Assembly>\n</Station>\n");
  EXPECT_EQ(Coverage({blocks}).Status, 2);
}

TEST_F(CoverageStation, GermanWords) {
  const Ended ended = Coverage({"--lang=de", "--missing", blocks});
  EXPECT_THAT(ended.Out, HasSubstr("Blöcke: 4, Zeilen: 4, abgelehnte Blöcke: 2\n"));
  EXPECT_THAT(ended.Out, HasSubstr("Phrasen               6 von      9     66,6 %\n"));
  EXPECT_THAT(ended.Out, HasSubstr("Fall, wahr \"toHamburg\": wahr mit dest=\"Hamburg\""));
}

TEST_F(CoverageStation, ChangesNothingInTheStation) {
  const auto listing = [this] {
    std::map<std::string, std::string> files;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(station.Dir())) {
      const bool isFile = entry.is_regular_file();
      files[entry.path()] = isFile ? support::ReadFile(entry.path()) : "";
    }
    return files;
  };
  const auto before = listing();
  Coverage({"--missing", blocks});
  EXPECT_EQ(listing(), before);
}

/// Runs a line of the page of documentation as it stands: in the station's directory, with `ka-tts`
/// beside the server.
int RunDocumented(const DemoStation& demo, const std::string& command) {
  const std::string program = demo.Sub("ka-tts");
  if (!std::filesystem::exists(program)) std::filesystem::copy_file(ToolPath(), program);
  return RunToolAt("/bin/sh", {"-c", "cd '" + demo.Dir() + "' && PATH=.:$PATH " + command}).Status;
}

TEST(CoverageDocumentation, EveryCommandOfThePageRuns) {
  const DemoStation demo;
  std::istringstream page(support::ReadFile((Project() / "docs/coverage.md").string()));
  int commands = 0;
  for (std::string line; std::getline(page, line);) {
    if (!line.starts_with("    ka-tts ")) continue;
    ++commands;
    EXPECT_EQ(RunDocumented(demo, line), 0) << line;
  }
  EXPECT_EQ(commands, 5);
  EXPECT_TRUE(std::filesystem::exists(demo.Sub("coverage.html")));
}

}  // namespace

}  // namespace toolstest
