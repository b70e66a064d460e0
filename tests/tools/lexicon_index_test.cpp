#include "check/lexicon_index.h"

#include <gmock/gmock.h>

#include <string>
#include <vector>

namespace tools {

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

using Entries = std::vector<CkaProfile::ProfileEntry>;

/// "entry<earlier" of each.
std::vector<std::string> Shadowed(const Entries& entries) {
  std::vector<std::string> texts;
  for (const ShadowedEntry& one : ShadowedEntries(entries))
    texts.push_back(std::to_string(one.Entry) + "<" + std::to_string(one.Earlier));
  return texts;
}

/// "entry:word" of each.
std::vector<std::string> Parts(const Entries& entries, const std::string& text) {
  std::vector<std::string> texts;
  for (const WordPart& part : ReplacedWordParts(kaLexicon(entries), text))
    texts.push_back(std::to_string(part.Entry) + ":" + part.Word);
  return texts;
}

TEST(ShadowedEntries, AreThoseThatHoldAnEarlierWord) {
  EXPECT_THAT(Shadowed({{"Hbf", "x"}, {"Köln Hbf", "y"}, {"Bf", "z"}, {"Hbfs", "z"}}),
              ElementsAre("1<0", "3<0"));
}

TEST(ShadowedEntries, AreThoseThatEqualAnEarlierWord) {
  EXPECT_THAT(Shadowed({{"a", "1"}, {"b", "2"}, {"a", "3"}}), ElementsAre("2<0"));
}

TEST(ShadowedEntries, NameTheFirstOfSeveral) {
  EXPECT_THAT(Shadowed({{"cd", ""}, {"ab", ""}, {"abcd", ""}}), ElementsAre("2<0"));
}

TEST(ShadowedEntries, AreNotThoseThatALaterOrLongerWordHolds) {
  EXPECT_THAT(Shadowed({{"IRE", "x"}, {"RE ", "y"}, {"RE", "z"}, {"re", "z"}}), IsEmpty());
}

TEST(ShadowedEntries, NeverReplaceAnything) {
  const Entries entries = {{"ab", "x"}, {"bc", "y"}, {"abc", "z"}, {"cbc", "v"}};
  ASSERT_THAT(Shadowed(entries), ElementsAre("2<0", "3<1"));
  for (const char* text : {"abc", "cbc", "ababc", "abcbc", "cbcbc", "aabcc"}) {
    std::vector<kaReplacement> replacements;
    kaMaskedText masked = MakeFreeText(text);
    kaLexicon(entries).ApplyTo(masked, &replacements);
    for (const kaReplacement& replacement : replacements)
      EXPECT_LT(replacement.Entry, 2U) << text;
  }
}

TEST(ReplacedWordParts, AreBeginningsMiddlesAndEnds) {
  EXPECT_THAT(Parts({{"Haste", "x"}}, "nach Hastedt"), ElementsAre("0:Hastedt"));
  EXPECT_THAT(Parts({{"RE", "x"}}, "IRE 3"), ElementsAre("0:IRE"));
  EXPECT_THAT(Parts({{"E", "x"}}, "IEC"), ElementsAre("0:IEC"));
}

TEST(ReplacedWordParts, AreNotWholeWords) {
  EXPECT_THAT(Parts({{"Wien", "x"}}, "Wien"), IsEmpty());
  EXPECT_THAT(Parts({{"Wien", "x"}}, "(Wien), Wien-Meidling/Wien Hbf"), IsEmpty());
}

TEST(ReplacedWordParts, LettersAndFiguresAreDifferentWords) {
  EXPECT_THAT(Parts({{"RE", "x"}, {"6", "y"}}, "RE6"), IsEmpty());
  EXPECT_THAT(Parts({{"1", "x"}}, "21"), ElementsAre("0:21"));
}

TEST(ReplacedWordParts, UmlautsAreLetters) {
  EXPECT_THAT(Parts({{"Str", "x"}}, "Strö"), ElementsAre("0:Strö"));
  EXPECT_THAT(Parts({{"B", "x"}}, "ÄB"), ElementsAre("0:ÄB"));
  EXPECT_THAT(Parts({{"Köln", "x"}}, "Köln–Bonn, „Köln“"), IsEmpty());
}

TEST(ReplacedWordParts, SmallLettersMayFollowOthers) {
  EXPECT_THAT(Parts({{"str.", "x"}}, "Hafenstr."), IsEmpty());
  EXPECT_THAT(Parts({{"str", "x"}}, "Hafenstrand"), ElementsAre("0:Hafenstrand"));
}

TEST(ReplacedWordParts, WhatIsProtectedIsNoPart) {
  EXPECT_THAT(Parts({{"Wiener", "Wiener"}, {"Wien", "x"}}, "Wiener"), IsEmpty());
  EXPECT_THAT(Parts({{":04", " Uhr 4"}, {"9", "neun"}}, "9:04"), IsEmpty());
}

}  // namespace

}  // namespace tools
