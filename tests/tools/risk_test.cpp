#include "words/risk.h"

#include <gmock/gmock.h>

#include <string>
#include <vector>

namespace toolstest {

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

std::vector<std::string> ReasonsFor(const std::string& word, const std::string& language = "de",
                                    bool endsSentence = false) {
  std::vector<std::string> ids;
  for (const tools::RiskReason* reason : tools::RiskOf(word, language, endsSentence).Reasons)
    ids.emplace_back(reason->Id);
  return ids;
}

TEST(Risk, OrdinaryWordsHaveNone) {
  for (const char* word :
       {"Bonn", "nach", "Hamburg-Altona", "Göttingen,", "fährt", "ein:", ".", ",", "Tür!"}) {
    EXPECT_THAT(ReasonsFor(word), IsEmpty()) << word;
  }
  EXPECT_THAT(ReasonsFor("King's", "en"), IsEmpty());
}

TEST(Risk, TimesAndNumbers) {
  EXPECT_THAT(ReasonsFor("10:05"), ElementsAre("time"));
  EXPECT_THAT(ReasonsFor("9.04"), ElementsAre("time"));
  EXPECT_THAT(ReasonsFor("17."), ElementsAre("ordinal"));
  EXPECT_THAT(ReasonsFor("599"), ElementsAre("digits"));
  EXPECT_THAT(ReasonsFor("12a"), ElementsAre("mixed", "digits"));
}

TEST(Risk, FullStopOfASentenceIsNoOrdinal) {
  EXPECT_THAT(ReasonsFor("17.", "de", true), ElementsAre("digits"));
  EXPECT_THAT(ReasonsFor("heute.", "de", true), IsEmpty());
  EXPECT_THAT(ReasonsFor("heute."), ElementsAre("abbreviation"));
}

TEST(Risk, AbbreviationsByFullStopOrWithoutVowel) {
  EXPECT_THAT(ReasonsFor("St."), ElementsAre("abbreviation"));
  EXPECT_THAT(ReasonsFor("v.d.H."), ElementsAre("abbreviation"));
  EXPECT_THAT(ReasonsFor("Hbf"), ElementsAre("abbreviation"));
  EXPECT_THAT(ReasonsFor("HBF"), ElementsAre("capitals"));
  EXPECT_THAT(ReasonsFor("ICE"), ElementsAre("capitals"));
}

TEST(Risk, SlashesAndSigns) {
  EXPECT_THAT(ReasonsFor("Köln/Bonn"), ElementsAre("slash"));
  EXPECT_THAT(ReasonsFor("(Oder)"), ElementsAre("sign"));
  EXPECT_THAT(ReasonsFor("&"), ElementsAre("sign"));
  EXPECT_THAT(ReasonsFor("-"), ElementsAre("sign"));
  EXPECT_THAT(ReasonsFor("A–C"), ElementsAre("sign"));
}

TEST(Risk, LettersAreForeignByLanguage) {
  EXPECT_THAT(ReasonsFor("Zürich"), IsEmpty());
  EXPECT_THAT(ReasonsFor("Zürich", "en"), ElementsAre("foreign"));
  EXPECT_THAT(ReasonsFor("Łódź"), ElementsAre("foreign"));
  EXPECT_THAT(ReasonsFor("Łódź", "pl"), IsEmpty());
}

TEST(Risk, SingleLetter) {
  EXPECT_THAT(ReasonsFor("a"), ElementsAre("letter"));
}

TEST(Risk, PointsAddUpAndAReasonCountsOnce) {
  tools::Risk risk = tools::RiskOf("12a", "de", false);
  EXPECT_EQ(risk.Points, 35);
  risk.Add(tools::RiskOf("599", "de", false));
  EXPECT_EQ(risk.Points, 35);
}

TEST(Risk, InvalidUtf8IsASign) {
  EXPECT_THAT(ReasonsFor("Z\xFCrich"), ElementsAre("sign"));
  EXPECT_THAT(ReasonsFor("\xC3"), ElementsAre("sign"));
}

TEST(Risk, ReasonsStandByTheirPoints) {
  int before = 1000;
  for (const tools::RiskReason& reason : tools::RiskReasons()) {
    EXPECT_LE(reason.Points, before) << reason.Id;
    before = reason.Points;
  }
}

TEST(Risk, AnotherVoiceIsOne) {
  tools::Risk risk;
  tools::AddVoiceRisk(risk, "b'On");
  EXPECT_EQ(risk.Points, 0);
  tools::AddVoiceRisk(risk, "(pl)w'uts;(de)");
  ASSERT_EQ(risk.Reasons.size(), 1U);
  EXPECT_EQ(risk.Reasons.front()->Id, "voice");
}

TEST(EndOfSentence, IsAFullStopBeforeACapitalOrAtTheEnd) {
  EXPECT_TRUE(tools::EndsSentence("hier.", "Bitte"));
  EXPECT_TRUE(tools::EndsSentence("ab.", ""));
  EXPECT_FALSE(tools::EndsSentence("St.", "Pölten"));
  EXPECT_FALSE(tools::EndsSentence("zirka.", "fünf"));
  EXPECT_FALSE(tools::EndsSentence("hier", "Bitte"));
}

}  // namespace

}  // namespace toolstest
