#include "check/suggestions.h"

#include <gmock/gmock.h>

#include <string>

namespace tools {

namespace {

TEST(EditDistance, CountsLettersAddedDroppedChangedAndSwapped) {
  EXPECT_EQ(EditDistance("steady", "steady", 3), 0U);
  EXPECT_EQ(EditDistance("stead", "steady", 3), 1U);
  EXPECT_EQ(EditDistance("steaddy", "steady", 3), 1U);
  EXPECT_EQ(EditDistance("steody", "steady", 3), 1U);
  EXPECT_EQ(EditDistance("steday", "steady", 3), 1U);
  EXPECT_EQ(EditDistance("", "abc", 3), 3U);
}

TEST(EditDistance, BeyondTheLimitIsOneMoreThanTheLimit) {
  EXPECT_EQ(EditDistance("abc", "xyz", 2), 3U);
  EXPECT_EQ(EditDistance("a", "abcdefgh", 2), 3U);
}

TEST(Suggestions, ClosestWordIsSuggested) {
  Suggestions words({"destination", "origin", "track"});
  EXPECT_EQ(words.ClosestTo("destinaton"), "destination");
  EXPECT_EQ(words.ClosestTo("trakc"), "track");
}

TEST(Suggestions, CaseMakesNoDifference) {
  Suggestions words({"eq", "has"});
  EXPECT_EQ(words.ClosestTo("EQ"), "eq");
}

TEST(Suggestions, OfSeveralTheMoreAlikeIsSuggested) {
  Suggestions words({"late", "lateArrival", "lates"});
  EXPECT_EQ(words.ClosestTo("LATE"), "late");
}

TEST(Suggestions, NothingIsSuggestedForAWordThatIsLikeNone) {
  Suggestions words({"steady", "sound", "", "ab"});
  EXPECT_EQ(words.ClosestTo("music"), "");
  EXPECT_EQ(words.ClosestTo(""), "");
  EXPECT_EQ(words.ClosestTo("cd"), "");
  EXPECT_EQ(words.Question("music", Language::English), "");
}

TEST(Suggestions, QuestionNamesTheWordInTheLanguage) {
  Suggestions words({"male", "female"});
  EXPECT_EQ(words.Question("Male", Language::English), "; did you mean \"male\"?");
  EXPECT_EQ(words.Question("Male", Language::German), "; ist \"male\" gemeint?");
}

TEST(Suggestions, AreGivenForTheFirstOfManyThousandWordsOnly) {
  std::set<std::string> many;
  for (int i = 0; i < 3000; ++i)
    many.insert("element" + std::to_string(i));
  Suggestions words(std::move(many));
  EXPECT_EQ(words.ClosestTo("elment7"), "element7");
  for (int i = 0; i < 200; ++i)
    words.ClosestTo("other" + std::to_string(i));
  EXPECT_EQ(words.ClosestTo("elment7"), "");
}

}  // namespace

}  // namespace tools
