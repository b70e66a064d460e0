#include <gmock/gmock.h>

#include <string>

#include "kaTTSServer.h"
#include "support/capture_output.h"
#include "support/station.h"
#include "support/temp_dir.h"

namespace {

using ::testing::HasSubstr;

/// A server whose configuration is the test's, with lexica below its root.
class LexRefTest : public ::testing::Test {
 protected:
  void Lexicon(const std::string& name, const std::string& rows) const {
    dir.Write("lexidata/" + name, rows);
  }

  std::string Apply(const std::string& text) {
    const support::CaptureOutput output;
    std::string result = server->ApplyLexRef(text);
    out = output.Out();
    err = output.Err();
    return result;
  }

  std::string Use(const std::string& text, const std::string& refName) {
    const support::CaptureOutput output;
    std::string result = server->UseMultiLexicon(text, refName);
    out = output.Out();
    err = output.Err();
    return result;
  }

  /// The part of the output that lists the marks.
  std::string Marks() const {
    const std::size_t begin = out.find("Marks:\n");
    const std::size_t end = out.find("EndOfMarks\n");
    return begin < end && end != std::string::npos ? out.substr(begin + 7, end - begin - 7) : out;
  }

  support::TempDir dir;
  support::ServerRoot root{dir.Path()};
  support::IdleServer server;
  std::string out;
  std::string err;
};

using LexRefMarks = LexRefTest;
using LexRefSegments = LexRefTest;
using MultiLexicon = LexRefTest;

// --- Marks

TEST_F(LexRefMarks, WithoutMarkupAndDefaultTheTextStays) {
  EXPECT_EQ(Apply("Zug nach Ulm"), "Zug nach Ulm");
  EXPECT_EQ(out, "Marks:\nEndOfMarks\nout : Zug nach Ulm\n");
  EXPECT_EQ(err, "");
}

TEST_F(LexRefMarks, EveryVariableTakesPartOnceWithItsFirstValue) {
  server.Set("rootDir", "/opt/");
  server.Set("bahn", "@b@");
  server.Set("bahn", "bahn.lex");
  server.Set("rootDir", "/usr/");
  EXPECT_EQ(Apply("x"), "x");
  EXPECT_EQ(out, "Markup: rootDir,/opt/\nMarkup: bahn,@b@\nMarks:\nEndOfMarks\nout : x\n");
}

TEST_F(LexRefMarks, ArePositionsAndNamesInTheirOrder) {
  server.Set("b", "<b>");
  server.Set("a", "<a>");
  Apply("x<a>y<b>z<a>");
  EXPECT_EQ(Marks(), "1,a\n5,b\n9,a\n");
}

TEST_F(LexRefMarks, OfTwoAtTheSamePositionTheEarlierVariableWins) {
  server.Set("ab", "<");
  server.Set("cd", "<<");
  Apply("x<<y");
  EXPECT_EQ(Marks(), "1,ab\n2,ab\n");
  server->kaConfig.ProfValues.clear();
  server.Set("cd", "<<");
  server.Set("ab", "<");
  Apply("x<<y");
  EXPECT_EQ(Marks(), "1,cd\n2,ab\n");
}

TEST_F(LexRefMarks, DefaultIsNoMarkup) {
  server.Set("default", "@d@");
  server.Set("bahn", "@b@");
  Apply("@d@ @b@");
  EXPECT_EQ(out.find("Markup: default,@d@\nMarkup: bahn,@b@\n"), 0U);
  EXPECT_EQ(Marks(), "4,bahn\n");
}

TEST_F(LexRefMarks, SearchGoesOnByTheLengthOfTheNameNotOfTheMarkup) {
  server.Set("longname", "#");
  Apply("#a#b#c#d#e");
  EXPECT_EQ(Marks(), "0,longname\n8,longname\n") << "seven characters on";
  server->kaConfig.ProfValues.clear();
  server.Set("ab", "<<<<");
  Apply("<<<<<x");
  EXPECT_EQ(Marks(), "0,ab\n1,ab\n") << "one character on, into the markup";
}

TEST_F(LexRefMarks, NameOfOneCharacterAdvancesByOne) {
  server.Set("R", "@@");
  EXPECT_EQ(Apply("@@@ x"), "@@@ x");
  EXPECT_EQ(Marks(), "0,R\n1,R\n");
}

TEST_F(LexRefMarks, ThousandsAmongHundredsOfAbsentMarkups) {
  for (int i = 0; i < 400; ++i)
    server.Set("absent" + std::to_string(i), "aab" + std::to_string(i));
  server.Set("R", "a");
  server.Set("default", "a");
  std::string expected;
  for (int i = 0; i < 5000; ++i)
    expected += std::to_string(i) + ",R\n";
  EXPECT_EQ(Apply(std::string(5000, 'a')), std::string(5000, 'a'));
  EXPECT_EQ(Marks(), expected);
}

TEST_F(LexRefMarks, EmptyMarkupComesToAnEnd) {
  server.Set("bellfile", "");
  EXPECT_EQ(Apply("Zug nach Ulm"), "Zug nach Ulm");
  EXPECT_EQ(Apply(""), "");
}

TEST_F(LexRefMarks, EmptyTextHasNone) {
  server.Set("bahn", "@b@");
  EXPECT_EQ(Apply(""), "");
  EXPECT_EQ(Marks(), "");
}

// --- Segments

TEST_F(LexRefSegments, EachIsPassedThroughItsOwnLexica) {
  server.Set("default", "std");
  server.Set("std", "@std@");
  server.Set("std", "std.lex");
  server.Set("bahn", "@b@");
  server.Set("bahn", "bahn.lex");
  Lexicon("std.lex", "Hbf=\"Bahnhof\"\n");
  Lexicon("bahn.lex", "Hbf=\"Hauptbahnhof\"\n");
  EXPECT_EQ(Apply("Hbf @b@Hbf @std@Hbf"), "Bahnhof @b@Hauptbahnhof @std@Bahnhof");
  EXPECT_EQ(out,
            "Markup: default,std\nMarkup: std,@std@\nMarkup: bahn,@b@\n"
            "Marks:\n4,bahn\n11,std\nEndOfMarks\n"
            "FundMarkup:@std@\nFundMarkup done:\nlex1\n*******.\nBahnhof \n\n"
            "FundMarkup:@b@\nFundMarkup done:\nlex1\n***************.\n@b@Hauptbahnhof \n\n"
            "FundMarkup:@std@\nFundMarkup done:\nlex1\n************\n@std@Bahnhof\n\n"
            "out : Bahnhof @b@Hauptbahnhof @std@Bahnhof\n");
  EXPECT_EQ(err, "");
}

TEST_F(LexRefSegments, WithoutDefaultTheFirstStaysAsItIs) {
  server.Set("bahn", "@b@");
  server.Set("bahn", "bahn.lex");
  Lexicon("bahn.lex", "Hbf=\"Hauptbahnhof\"\n");
  EXPECT_EQ(Apply("Hbf @b@Hbf"), "Hbf @b@Hauptbahnhof");
  EXPECT_EQ(out,
            "Markup: bahn,@b@\nMarks:\n4,bahn\nEndOfMarks\n"
            "FundMarkup:@b@\nFundMarkup done:\nlex1\n***************\n@b@Hauptbahnhof\n\n"
            "out : Hbf @b@Hauptbahnhof\n");
}

TEST_F(LexRefSegments, DefaultAppliesToAWholeTextWithoutMarkup) {
  server.Set("default", "std");
  server.Set("std", "@std@");
  server.Set("std", "std.lex");
  Lexicon("std.lex", "Hbf=\"Bahnhof\"\n");
  EXPECT_EQ(Apply("Ulm Hbf"), "Ulm Bahnhof");
}

TEST_F(LexRefSegments, FirstMayBeEmpty) {
  server.Set("default", "std");
  server.Set("std", "@std@");
  EXPECT_EQ(Apply("@std@x"), "@std@x");
  EXPECT_THAT(out, HasSubstr("EndOfMarks\nFundMarkup:@std@\nFundMarkup done:\n\n\n\n"
                             "FundMarkup:@std@\nFundMarkup done:\n*****.\n@std@x\n\n"));
}

TEST_F(LexRefSegments, DefaultIsTakenWithoutALookup) {
  server.Set("default", "std");
  Apply("x");
  EXPECT_EQ(out.find("GetValueString"), std::string::npos);
}

TEST_F(LexRefSegments, FirstDefaultCounts) {
  server.Set("default", "one");
  server.Set("default", "two");
  server.Set("one", "@1@");
  server.Set("one", "one.lex");
  server.Set("two", "@2@");
  Lexicon("one.lex", "a=\"b\"\n");
  EXPECT_EQ(Apply("a"), "b");
}

// --- The lexica of one segment

TEST_F(MultiLexicon, NameWithoutValuesLeavesTheSegment) {
  EXPECT_EQ(Use("Hbf", "bahn"), "Hbf");
  EXPECT_EQ(out, "FundMarkup done:\n...\nHbf\n\n");
  EXPECT_EQ(err, "");
}

TEST_F(MultiLexicon, NameWithAMarkupOnlyProtectsIt) {
  server.Set("bahn", "@b@");
  EXPECT_EQ(Use("@b@Hbf", "bahn"), "@b@Hbf");
  EXPECT_EQ(out, "FundMarkup:@b@\nFundMarkup done:\n***...\n@b@Hbf\n\n");
}

TEST_F(MultiLexicon, LexicaAreAppliedInTheirOrderEachToTheEnd) {
  server.Set("bahn", "@b@");
  server.Set("bahn", "one.lex");
  server.Set("other", "zero.lex");
  server.Set("bahn", "two.lex");
  Lexicon("one.lex", "IC=\"1\"\nRE=\"2\"\n");
  Lexicon("two.lex", "ICE=\"3\"\nE=\"4\"\n2=\"5\"\n");
  EXPECT_EQ(Use("ICE RE E", "bahn"), "14 2 4");
  EXPECT_EQ(out, "FundMarkup:@b@\nFundMarkup done:\nlex1\nlex1\n**.*.*\n14 2 4\n\n");
}

TEST_F(MultiLexicon, ReplacementThatContainsItsWordIsNotReplacedAgain) {
  server.Set("bahn", "@b@");
  server.Set("bahn", "one.lex");
  Lexicon("one.lex", "Hbf=\"Hbf (Hbf)\"\n");
  EXPECT_EQ(Use("Hbf", "bahn"), "Hbf (Hbf)");
}

TEST_F(MultiLexicon, WordThatOverlapsTheMarkupAtTheHeadStays) {
  server.Set("bahn", "@b@");
  server.Set("bahn", "one.lex");
  Lexicon("one.lex", "@H=\"1\"\nb=\"2\"\n@b@Hbf=\"3\"\n");
  EXPECT_EQ(Use("@b@Hbf", "bahn"), "@b@H2f");
}

TEST_F(MultiLexicon, MarkupElsewhereProtectsNothing) {
  server.Set("bahn", "@b@");
  server.Set("bahn", "one.lex");
  Lexicon("one.lex", "@b@=\"1\"\n");
  EXPECT_EQ(Use(" @b@", "bahn"), " 1");
  EXPECT_EQ(Use("@b@@b@", "bahn"), "@b@1") << "only the one at the head";
}

TEST_F(MultiLexicon, ProtectedMatchDoesNotEndTheSearch) {
  server.Set("bahn", "@b@");
  server.Set("bahn", "one.lex");
  Lexicon("one.lex", "b=\"c\"\n");
  EXPECT_EQ(Use("@b@ b b", "bahn"), "@b@ c c");
}

TEST_F(MultiLexicon, SearchGoesOnOneCharacterAfterADeletion) {
  server.Set("bahn", "@b@");
  server.Set("bahn", "one.lex");
  Lexicon("one.lex", "a=\"\"\n");
  EXPECT_EQ(Use("aaa", "bahn"), "a");
}

TEST_F(MultiLexicon, MissingFileEndsTheSegmentWithWhatWasReplacedSoFar) {
  server.Set("bahn", "@b@");
  server.Set("bahn", "one.lex");
  server.Set("bahn", "none.lex");
  server.Set("bahn", "three.lex");
  Lexicon("one.lex", "a=\"1\"\n");
  Lexicon("three.lex", "b=\"3\"\n");
  EXPECT_EQ(Use("a b", "bahn"), "1 b");
  EXPECT_EQ(out, "FundMarkup:@b@\nFundMarkup done:\nlex1\nlex1\n");
  EXPECT_EQ(err, "Profil-Datei nicht vorhanden:" + dir.Path() + "/lexidata/none.lex\n");
}

TEST_F(MultiLexicon, ChangesNothingOfTheConfiguration) {
  server.Set("bahn", "@b@");
  server.Set("bahn", "one.lex");
  Lexicon("one.lex", "a=\"1\"\n");
  Use("a", "bahn");
  EXPECT_EQ(server->kaConfig.GetVarCount(), 2);
}

}  // namespace
