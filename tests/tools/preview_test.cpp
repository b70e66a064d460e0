#include "preview/preview.h"

#include <gmock/gmock.h>

#include <string>

#include "common/cannot_run.h"
#include "demo_station.h"
#include "preview/preview_json.h"
#include "preview/preview_text.h"
#include "preview/visible.h"
#include "support/temp_dir.h"

namespace tools {

namespace {

using ::testing::HasSubstr;
using Outcome = BlockPreview::Outcome;

/// A small station of two languages; tests change what they need.
class PreviewTest : public ::testing::Test {
 protected:
  PreviewTest() {
    demo.Write("announcements/station.xml", kDocument);
    demo.Write("lexidata/de/words", "# words\nHbf=\"Hauptbahnhof\"\nRE=\"Regio\"\n");
  }

  BlockPreview Of(const std::string& message, bool explains = true) {
    station.emplace(demo.Dir());
    preview.emplace(*station);
    return preview->Of(message, explains);
  }
  std::string Explained(const std::string& message, Language lang = Language::English) {
    const BlockPreview made = Of(message);
    return TextOf(made, "block", *preview, {lang, false, station->Root()});
  }

  static constexpr const char* kDocument = R"xml(<Station>
<References>
<Language name="de"><Voice sex="male">de</Voice><Element id="train" trait="temp"/>
<Element id="dest" trait="temp"/><Element id="text" trait="temp"/><Element id="gong" trait="sound"/>
<Element id="warn" trait="steady"/></Language>
<Language name="en"><Voice sex="male">en</Voice><Element id="train" trait="temp"/></Language>
</References>
<Assembly>
<RBLFormat minrows="1" maxrows="2"><Attribute name="t" assignto="train" musthavevalue="yes"/>
<Attribute name="d" assignto="dest"/></RBLFormat>
<Language name="de" generalprefix="\voice(de)">
<Announcement position="0">
<Speech id="gong"/>
<Speech id="train" prefix="Zug " lexicon="words"/>
<Condition name="hasDest">
<Speech id="dest" prefix=" nach " lexicon="words"/>
</Condition>
<Condition name="noOne"><Speech id="text" prefix="?"/></Condition>
<Speech id="nothing"/>
</Announcement>
<Announcement position="1" positionMax="9"><Speech id="train"/> </Announcement>
</Language>
<Language name="en">
<Announcement position="0"> <Speech id="train" prefix="\e1 Train " lexicon="none"/> </Announcement>
</Language>
<Case id="hasDest" strlen="d" operator="gt" value="0"/>
<Case id="isRE" substr="t" type="string" operator="eq" begin="0" end="1" value="RE"/>
<Case id="late" substr="t" type="number" operator="ge" begin="3" end="-1" value="5"/>
<Case id="both" operator="AND"><Case ref="isRE"/><Case ref="hasDest"/></Case>
</Assembly>
</Station>
)xml";

  toolstest::DemoStation demo;
  std::optional<Station> station;
  std::optional<Preview> preview;
};

TEST_F(PreviewTest, TextsComeByRowAndLanguageAsTheServerMakesThem) {
  const BlockPreview made = Of("<b><row t='RE 7' d='Celle Hbf'/></b>");
  ASSERT_EQ(made.Result, Outcome::Complete);
  ASSERT_EQ(made.Texts.size(), 2U);
  EXPECT_EQ(made.Texts[0].Name, "de0");
  EXPECT_EQ(made.Texts[0].Text, "\\voice(de)  \\audio(play=" + station->Root() +
                                    "/announcements/sounds/gong.wav) Zug Regio 7 nach Celle "
                                    "Hauptbahnhof");
  EXPECT_EQ(made.Texts[1].Name, "en0");
  EXPECT_EQ(made.Texts[1].Text,
            " \x1b"
            "1 Train RE 7");
}

TEST_F(PreviewTest, LanguageWithoutAnnouncementForARowIsSilent) {
  // English has position 0 alone: the second row fits none.
  demo.Replace("announcements/station.xml", "<Announcement position=\"1\" positionMax=\"9\">",
               "<Announcement position=\"2\">");
  const BlockPreview made = Of("<b><row t='RE 7'/><row t='RE 8'/></b>");
  EXPECT_EQ(made.Result, Outcome::Complete);
  ASSERT_EQ(made.Texts.size(), 4U);
  EXPECT_FALSE(made.Texts[2].bExists);
  EXPECT_FALSE(made.Texts[3].bExists);
  EXPECT_THAT(Explained("<b><row t='RE 7'/><row t='RE 8'/></b>"),
              HasSubstr("en1  (no announcement)\n    no announcement: row 1 fits no position, and "
                        "none has position 1\n"));
}

TEST_F(PreviewTest, OneReadOfTheMessageCounts) {
  const std::string block = "<b><row t='RE 7'/></b>";
  EXPECT_EQ(Of(std::string(11'999 - block.size(), ' ') + block).Result, Outcome::Complete);
  EXPECT_EQ(Of(std::string(12'000 - block.size(), ' ') + block).Result, Outcome::NotWellFormed);
}

TEST_F(PreviewTest, MessageEndsAtAZeroByteAndBehindItsLastTag) {
  const std::string block = "<b><row t='RE 7'/></b>";
  EXPECT_EQ(Of(block + std::string(1, '\0') + "<").Result, Outcome::Complete);
  EXPECT_EQ(Of(block + "filler").Result, Outcome::Complete);
  EXPECT_EQ(Of("<b><row t='///'/></b>").Result, Outcome::NotWellFormed);
}

TEST_F(PreviewTest, BlockThatIsNotWellFormedHasItsLine) {
  const BlockPreview made = Of("<b>\n<row t='1'>\n</b>");
  EXPECT_EQ(made.Result, Outcome::NotWellFormed);
  EXPECT_EQ(made.Fault.At.Line, 3);
  EXPECT_THAT(made.Fault.Reason, HasSubstr("row"));
  EXPECT_EQ(Of("").Fault.Reason, "Document is empty");
  EXPECT_EQ(Of("no block").Fault.At.Line, 1);
}

TEST_F(PreviewTest, BlockWhoseEntitiesGrowExpandsTooFar) {
  std::string block = "<!DOCTYPE b [<!ENTITY e0 '" + std::string(1000, 'x') + "'>";
  for (int i = 1; i < 6; ++i) {
    const std::string inner = "&e" + std::to_string(i - 1) + ";";
    block += "<!ENTITY e" + std::to_string(i) + " '" + inner + inner + inner + inner + "'>";
  }
  EXPECT_EQ(Of(block + "]><b><row t='RE 7'/>&e5;</b>").Result, Outcome::ExpandsTooFar);
  EXPECT_EQ(Of(block + "]><b><row t='RE 7'/>&e2;</b>").Result, Outcome::Complete);
}

TEST_F(PreviewTest, TooFewRowsAreCounted) {
  EXPECT_EQ(Of("<b/>").Result, Outcome::TooFewRows);
  EXPECT_THAT(Explained("<b/>"), HasSubstr("block: refused: 0 rows, where at least 1 are wanted"));
}

TEST_F(PreviewTest, MissingValueHasItsRowAndLine) {
  const std::string block = "<b>\n<row t='RE'/>\n<row\n d=''/></b>";
  const BlockPreview made = Of(block);
  ASSERT_EQ(made.Values.size(), 1U);
  EXPECT_EQ(made.Values[0].Row, 1);
  EXPECT_EQ(made.Values[0].Line, 3);
  EXPECT_THAT(Explained(block),
              HasSubstr("block:3: refused: row 1 has no value for the required attribute t"));
  EXPECT_THAT(Explained(block, Language::German),
              HasSubstr("abgewiesen: Zeile 1 hat keinen Wert für das Pflichtattribut t"));
}

TEST_F(PreviewTest, CaseOutsideAValueGivesTheBlockUpWithTheTextsBefore) {
  const std::string block = "<b><row t='RE 7'/><row t='RE'/></b>";
  const BlockPreview made = Of(block);
  EXPECT_EQ(made.Result, Outcome::CaseOutsideValue);
  EXPECT_EQ(made.Texts.size(), 2U) << "the first row in both languages";
  EXPECT_THAT(Explained(block), HasSubstr("given up in row 1: the case late (document, line 28) "
                                          "looks from byte 3 on at t = \"RE\", which has 2 bytes"));
}

TEST_F(PreviewTest, ListWithoutASecondAnnouncementGivesTheBlockUp) {
  demo.Replace("announcements/station.xml",
               "<Announcement position=\"0\"> <Speech id=\"train\" prefix=\"\\e1",
               "<Announcement position=\"1\"> <Speech id=\"train\" prefix=\"\\e1");
  const std::string block = "<b><row t='RE 7'/></b>";
  EXPECT_EQ(Of(block).Result, Outcome::AnnouncementMissing);
  EXPECT_THAT(Explained(block), HasSubstr("language en has no second announcement in its list"));
}

TEST_F(PreviewTest, FewerLanguagesInAssemblyGiveTheBlockUp) {
  demo.Replace("announcements/station.xml", "</References>",
               "<Language name=\"fr\"><Voice sex=\"male\">fr</Voice></Language></References>");
  EXPECT_THAT(Explained("<b><row t='RE 7'/></b>"),
              HasSubstr("References has 3 languages, Assembly 2 only"));
}

TEST_F(PreviewTest, ExplainsEachPhrase) {
  const std::string text = Explained("<b><row t='RE 7' d='Celle Hbf'/></b>");
  EXPECT_THAT(text, HasSubstr("announcement 0 of the list (line 12): row 0 first fits position 0 "
                              "to 0\n    + \"\\voice(de) \"  general prefix\n"));
  EXPECT_THAT(text, HasSubstr("+ \"Zug Regio 7\"  train (line 14): t = \"RE 7\", lexicon "
                              "lexidata/de/words\n        lexidata/de/words:3: \"RE\" -> "
                              "\"Regio\", at byte 0\n"));
  EXPECT_THAT(text, HasSubstr("hasDest (line 26): length of d = \"Celle Hbf\": 9 gt 0: holds\n"));
  EXPECT_THAT(text, HasSubstr("    - text (line 18)\n        noOne: there is no case of this name; "
                              "it never holds\n"));
  EXPECT_THAT(text, HasSubstr("nothing (line 19): the language has no such element"));
  EXPECT_THAT(text, HasSubstr("+ \"␛1 Train RE 7\"  train (line 24): t = \"RE 7\", the lexicon "
                              "lexidata/en/none is missing\n"));
}

TEST_F(PreviewTest, TellsEmptyAttributesAndElementsWithoutOne) {
  demo.Replace("announcements/station.xml", "<Condition name=\"noOne\">", "<Condition name=\"\">");
  const std::string text = Explained("<b><row t='RE 7'/></b>");
  EXPECT_THAT(text, HasSubstr("\"?\"  text (line 18): no attribute is assigned"));
  demo.Replace("announcements/station.xml", "<Condition name=\"hasDest\">",
               "<Condition name=\"isRE\">");
  EXPECT_THAT(Explained("<b><row t='RE 7'/></b>"), HasSubstr("attribute d is empty"));
}

TEST_F(PreviewTest, CombinedCasesAreExplainedWithTheirOwn) {
  demo.Replace("announcements/station.xml", "<Condition name=\"hasDest\">",
               "<Condition name=\"both\">");
  EXPECT_THAT(
      Explained("<b><row t='RE 7'/></b>"),
      HasSubstr("        both (line 29): AND, 1 of 2 hold: does not hold\n"
                "          isRE (line 27): t = \"RE 7\", bytes 0 to 1: \"RE\", as a text "
                "eq \"RE\": holds\n"
                "          hasDest (line 26): length of d = \"\": 0 gt 0: does not hold\n"));
}

TEST_F(PreviewTest, CasesWithNumbersAndPartsOutOfReach) {
  demo.Replace("announcements/station.xml", "<Condition name=\"hasDest\">",
               "<Condition name=\"late\">");
  EXPECT_THAT(Explained("<b><row t='RE 7'/></b>"),
              HasSubstr("late (line 28): t = \"RE 7\", from byte 3 on: \"7\", as a number 7 ge 5: "
                        "holds\n"));
  demo.Replace("announcements/station.xml", "<Condition name=\"late\">",
               "<Condition name=\"isRE\">");
  demo.Replace("announcements/station.xml", "begin=\"0\" end=\"1\"", "begin=\"0\" end=\"7\"");
  EXPECT_THAT(Explained("<b><row t='RE 7'/></b>"),
              HasSubstr("isRE (line 27): t = \"RE 7\" does not reach up to byte 7: does not hold"));
}

TEST_F(PreviewTest, ChainsOfCasesAreAbridged) {
  std::string chain;
  for (int i = 1; i <= 3000; ++i) {
    const std::string ref = i == 1 ? "hasDest" : "c" + std::to_string(i - 1);
    chain += "<Case id=\"c" + std::to_string(i) + "\"><Case ref=\"" + ref + "\"/><Case ref=\"" +
             ref + "\"/></Case>\n";
  }
  demo.Replace("announcements/station.xml", "</Assembly>", chain + "</Assembly>");
  demo.Replace("announcements/station.xml", "<Condition name=\"hasDest\">",
               "<Condition name=\"c3000\">");
  const std::string text = Explained("<b><row t='RE 7' d='x'/></b>");
  EXPECT_THAT(text, HasSubstr("AND (its cases are not given here): holds"));
  EXPECT_LT(text.size(), 20'000U);
}

TEST_F(PreviewTest, LaterTextOfOneFileIsTold) {
  demo.Replace("announcements/station.xml", "<Language name=\"en\"><Voice",
               "<Language name=\"de\"><Voice");
  demo.Replace("announcements/station.xml", "<Language name=\"en\">\n", "<Language name=\"de\">\n");
  EXPECT_THAT(Explained("<b><row t='RE 7'/></b>"),
              HasSubstr("(a later text of this block overwrites the file)"));
}

TEST_F(PreviewTest, SurplusRowsAreTold) {
  EXPECT_THAT(Explained("<b><row t='RE 7'/><row t='RE 8'/><row t='RE 9'/></b>"),
              HasSubstr("block (2 of 3 rows are announced)\n"));
}

TEST_F(PreviewTest, JsonHasTextsAndReasons) {
  const BlockPreview made = Of("<b><row t='RE 7' d='Celle Hbf'/></b>");
  const auto json = JsonOf(made, "block", *preview);
  EXPECT_EQ(json.at("state"), "complete");
  const auto& why = json.at("texts").at(0).at("explanation");
  EXPECT_EQ(why.at("announcement").at("fitting").at("positionMax"), 0);
  const auto& phrase = why.at("phrases").at(2);
  EXPECT_EQ(phrase.at("case").at("kind"), "strlen");
  EXPECT_EQ(phrase.at("case").at("left"), 9);
  EXPECT_EQ(phrase.at("replacements").at(0).at("line"), 2);
  EXPECT_EQ(phrase.at("replacements").at(0).at("position"), 6);
  EXPECT_FALSE(why.at("phrases").at(3).at("spoken"));
  EXPECT_EQ(JsonOf(Of("<b/>"), "block", *preview).at("refusal").at("reason"), "too-few-rows");
}

TEST_F(PreviewTest, TextThatIsNoUtf8HasItsBytesInJson) {
  demo.Write("lexidata/de/words", "RE=\"R\xE9gio\"\n");
  const BlockPreview made = Of("<b><row t='RE'/></b>", false);
  EXPECT_EQ(made.Result, Outcome::CaseOutsideValue);
  const BlockPreview fitting = Of("<b><row t='RE 7'/></b>", false);
  const auto json = JsonOf(fitting, "block", *preview);
  EXPECT_THAT(std::string(json.at("texts").at(0).at("hex")), HasSubstr("52e967696f"));
  EXPECT_FALSE(json.at("texts").at(1).contains("hex"));
  EXPECT_THAT(Dump(json), HasSubstr("R\xEF\xBF\xBDgio"));
}

TEST_F(PreviewTest, DocumentThatOpensNoPortCannotBePreviewed) {
  demo.Replace("announcements/station.xml", "<Voice sex=\"male\">en</Voice>", "");
  EXPECT_THROW(Of("<b/>"), CannotRun);
  demo.Write("announcements/station.xml", "<Station/>");
  EXPECT_THROW(Of("<b/>"), CannotRun);
}

TEST_F(PreviewTest, ChangesNoFileOfTheStation) {
  Of("<b><row t='RE 7'/></b>");
  EXPECT_TRUE(std::filesystem::is_empty(demo.Sub("run/store")));
  EXPECT_TRUE(std::filesystem::is_empty(demo.Sub("run/play")));
  EXPECT_TRUE(std::filesystem::is_empty(demo.Sub("run/steady/de")));
}

TEST(Visible, ShowsControlCharactersByPictures) {
  EXPECT_EQ(Visible("a\n\x1b\x7f\xC3\xA4"), "a␊␛␡ä");
  EXPECT_EQ(Quoted("\t"), "\"␉\"");
  EXPECT_TRUE(IsUtf8("ä"));
  EXPECT_FALSE(IsUtf8("\xE4"));
}

}  // namespace

}  // namespace tools
