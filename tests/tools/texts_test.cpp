#include <gmock/gmock.h>

#include <string>

#include "test/expected_texts.h"
#include "test/test_report.h"
#include "test/word_difference.h"

namespace tools {

namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using End = ExpectedTexts::End;

TEST(ExpectedTexts, LinesAreNameAndText) {
  const ExpectedTexts texts = ReadExpected("de0\ta  b\nen0\t\n");
  ASSERT_EQ(texts.Texts.size(), 2U);
  EXPECT_EQ(texts.Texts[0].Name, "de0");
  EXPECT_EQ(texts.Texts[0].Said, "a  b");
  EXPECT_EQ(texts.Texts[1].Said, "");
  EXPECT_EQ(texts.Ending, End::Made);
}

TEST(ExpectedTexts, TextOfSeveralLinesGoesOnBehindATab) {
  const ExpectedTexts texts = ReadExpected("de0\ta\n\tb\n\t\n\t\tc\nen0\td\n");
  ASSERT_EQ(texts.Texts.size(), 2U);
  EXPECT_EQ(texts.Texts[0].Said, "a\nb\n\n\tc");
}

TEST(ExpectedTexts, RejectedAndGivenUpAreLinesOfTheirOwn) {
  EXPECT_EQ(ReadExpected("rejected\n").Ending, End::Rejected);
  EXPECT_EQ(ReadExpected("de0\ta\ngiven up\n").Ending, End::GivenUp);
  EXPECT_EQ(ReadExpected("de0\trejected\n").Ending, End::Made);
}

TEST(ExpectedTexts, WhatIsWrittenIsRead) {
  const ExpectedTexts texts{End::GivenUp, {{"de0", "a\n\n\tb\x1b"}, {"de0", ""}, {"en0", "\n"}}};
  EXPECT_EQ(ReadExpected(WriteExpected(texts)), texts);
  EXPECT_EQ(WriteExpected({End::Rejected, {}}), "rejected\n");
}

TEST(StationMarks, StandForTheStationsDirectories) {
  CkaSpeechbuilder builder;
  builder.SoundsPath = "/s";
  builder.SteadyPath = "/s/steady";
  const StationMarks marks(builder);
  const ExpectedTexts texts{End::Made, {{"de0", "/s/a /s/steady/de/b /sx"}}};
  const ExpectedTexts marked = marks.WithMarks(texts);
  EXPECT_EQ(marked.Texts[0].Said, "@SOUNDS@/a @STEADY@/de/b /sx");
  EXPECT_EQ(marks.WithDirectories(marked), texts);
}

TEST(StationMarks, DirectoryThatIsNotConfiguredHasNone) {
  const StationMarks marks{CkaSpeechbuilder()};
  EXPECT_EQ(marks.WithMarks({End::Made, {{"de0", "/a"}}}).Texts[0].Said, "/a");
}

TEST(WordDifference, MarksWordsThatDiffer) {
  EXPECT_EQ(WordDifference("von Gleis 7, heute", "von Gleis 8, heute", false),
            "von Gleis [-7-]{+8+}, heute");
  EXPECT_EQ(WordDifference("a b", "a c b", false), "a {+c +}b");
  EXPECT_EQ(WordDifference("a b", "b", false), "[-a -]b");
  EXPECT_EQ(WordDifference("", "x", false), "{+x+}");
}

TEST(WordDifference, ShowsBlanksAndControlCharacters) {
  EXPECT_EQ(WordDifference("a  b", "a b", false), "a [- -]b");
  EXPECT_EQ(WordDifference("a", "a\n", false), "a{+␊+}");
}

TEST(WordDifference, IsColouredWhereAskedFor) {
  EXPECT_EQ(WordDifference("a", "b", true), "\x1b[1;31m[-a-]\x1b[0m\x1b[32m{+b+}\x1b[0m");
}

TEST(WordDifference, VeryLongTextsDifferAsAWhole) {
  const std::string a(2500, '.');
  const std::string b(2600, '.');
  EXPECT_EQ(WordDifference(a, b, false), "[-" + a + "-]{+" + b + "+}");
}

BlockTest Failed() {
  BlockTest test;
  test.Name = "a&b";
  test.Result = BlockTest::Outcome::Different;
  test.Differences = {{"de0", "x", "y"}, {"en0", "<x>\x1b", std::nullopt}, {"fr0", {}, "new"}};
  return test;
}

TEST(FailureLines, TellEachText) {
  EXPECT_THAT(FailureLines(Failed(), Language::English, false),
              ElementsAre("de0  [-x-]{+y+}", "en0  no text any more, expected: <x>␛",
                          "fr0  not expected: new"));
}

TEST(FailureLines, TellThatABlockIsRefusedOrNoMore) {
  BlockTest test;
  test.Result = BlockTest::Outcome::Different;
  test.Present.Ending = End::Rejected;
  test.Refusals = {"x.xml: refused: why"};
  EXPECT_THAT(FailureLines(test, Language::English, false), ElementsAre("x.xml: refused: why"));
  test.ExpectedEnding = End::Rejected;
  test.Present.Ending = End::Made;
  test.Refusals.clear();
  EXPECT_THAT(FailureLines(test, Language::German, false),
              ElementsAre("erwartet: der Block wird abgewiesen"));
}

TEST(TestJUnit, IsXmlWithTheFailures) {
  const std::string xml = TestJUnit({Failed(), BlockTest{}}, Language::English);
  EXPECT_THAT(xml, HasSubstr("<testsuite name=\"ka-tts\" tests=\"2\" failures=\"1\">"));
  EXPECT_THAT(xml, HasSubstr("name=\"a&amp;b\">\n   <failure message=\"de0  [-x-]{+y+}\">"));
  EXPECT_THAT(xml, HasSubstr("&lt;x>␛"));
}

}  // namespace

}  // namespace tools
