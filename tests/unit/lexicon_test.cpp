#include "kaLexicon.h"

#include <gmock/gmock.h>

#include <random>
#include <string>
#include <utility>
#include <vector>

namespace {

using Words = std::vector<std::pair<std::string, std::string>>;

CkaProfile LexiconOf(const Words& words) {
  CkaProfile lexicon;
  for (const auto& [word, replacement] : words)
    lexicon.ProfValues.push_back({word, replacement});
  return lexicon;
}

kaMaskedText Apply(const std::string& text, const Words& words) {
  kaMaskedText masked = MakeFreeText(text);
  ApplyLexicon(masked, LexiconOf(words));
  return masked;
}

/// The replacement, step by step.
kaMaskedText ApplyPlainly(kaMaskedText masked, const Words& words) {
  for (const auto& [word, replacement] : words) {
    for (auto pos = masked.Text.find(word); pos != std::string::npos;
         pos = masked.Text.find(word, pos + 1)) {
      if (masked.Mask.substr(pos, word.size()).find('*') != std::string::npos) continue;
      masked.Text.replace(pos, word.size(), replacement);
      masked.Mask.replace(pos, word.size(), replacement.size(), '*');
    }
  }
  return masked;
}

std::string RandomWord(std::mt19937& random, std::size_t longest) {
  std::string word(random() % (longest + 1), 'a');
  for (char& letter : word)
    letter = static_cast<char>('a' + random() % 3);
  return word;
}

}  // namespace

TEST(Lexicon, FreeTextProtectsNothing) {
  const kaMaskedText masked = MakeFreeText("größe");
  EXPECT_EQ(masked.Text, "größe");
  EXPECT_EQ(masked.Mask, ".......");
  EXPECT_EQ(MakeFreeText("").Mask, "");
}

TEST(Lexicon, EveryOccurrenceIsReplaced) {
  const kaMaskedText masked = Apply("Hbf Hbf", {{"Hbf", "Hauptbahnhof"}});
  EXPECT_EQ(masked.Text, "Hauptbahnhof Hauptbahnhof");
  EXPECT_EQ(masked.Mask, "************.************");
}

TEST(Lexicon, LaterEntryDoesNotTouchInsertedText) {
  const kaMaskedText masked = Apply("a", {{"a", "b"}, {"b", "c"}});
  EXPECT_EQ(masked.Text, "b");
  EXPECT_EQ(masked.Mask, "*");
}

TEST(Lexicon, ReplacementThatContainsItsWordIsNotReplacedAgain) {
  const kaMaskedText masked = Apply("ICE", {{"ICE", "I C ICE"}});
  EXPECT_EQ(masked.Text, "I C ICE");
  EXPECT_EQ(masked.Mask, "*******");
}

TEST(Lexicon, EntriesApplyInTheirOrder) {
  EXPECT_EQ(Apply("aa", {{"aa", "x"}, {"a", "y"}}).Text, "x");
  EXPECT_EQ(Apply("aa", {{"a", "y"}, {"aa", "x"}}).Text, "yy");
}

TEST(Lexicon, WordThatTouchesProtectedTextIsNotReplaced) {
  const kaMaskedText masked = Apply("abc", {{"b", "b"}, {"ab", "x"}, {"bc", "y"}, {"abc", "z"}});
  EXPECT_EQ(masked.Text, "abc");
  EXPECT_EQ(masked.Mask, ".*.");
}

TEST(Lexicon, WordsAroundProtectedTextAreReplaced) {
  kaMaskedText masked{"[m]a[m]a", "***.***."};
  ApplyLexicon(masked, LexiconOf({{"a", "xy"}, {"m", "z"}}));
  EXPECT_EQ(masked.Text, "[m]xy[m]xy");
  EXPECT_EQ(masked.Mask, "**********");
}

TEST(Lexicon, BytesAreComparedExactly) {
  EXPECT_EQ(Apply("hbf HBF Hb", {{"Hbf", "x"}}).Text, "hbf HBF Hb");
  EXPECT_EQ(Apply("Zürich", {{"\xc3", "x"}}).Text, "Zx\xbcrich");
}

TEST(Lexicon, EmptyReplacementRemovesAndStepsOverOneByte) {
  const kaMaskedText masked = Apply("aab", {{"a", ""}});
  EXPECT_EQ(masked.Text, "ab");
  EXPECT_EQ(masked.Mask, "..");
  EXPECT_EQ(Apply("a", {{"a", ""}}).Text, "");
}

TEST(Lexicon, OverlappingOccurrencesAreReplacedFromTheLeft) {
  EXPECT_EQ(Apply("aaaa", {{"aa", "x"}}).Text, "xx");
  EXPECT_EQ(Apply("aaa", {{"aa", "x"}}).Text, "xa");
}

TEST(Lexicon, EmptyWordReplacesNothing) {
  const kaMaskedText masked = Apply("abc", {{"", "x"}, {"b", "y"}});
  EXPECT_EQ(masked.Text, "ayc");
  EXPECT_EQ(masked.Mask, ".*.");
  EXPECT_EQ(Apply("", {{"", "x"}}).Text, "");
}

TEST(Lexicon, EmptyLexiconChangesNothing) {
  EXPECT_EQ(Apply("abc", {}).Text, "abc");
  EXPECT_EQ(Apply("abc", {}).Mask, "...");
}

TEST(Lexicon, RandomLexicaReplaceAsThePlainCode) {
  for (unsigned int seed = 0; seed < 3000; ++seed) {
    std::mt19937 random(seed);
    kaMaskedText masked = MakeFreeText(RandomWord(random, 20));
    for (char& mark : masked.Mask)
      mark = random() % 6 == 0 ? '*' : '.';
    Words words;
    for (auto count = random() % 5; count > 0; --count) {
      const std::string word = RandomWord(random, 3);
      words.emplace_back(word + "a", RandomWord(random, 3));
    }
    const kaMaskedText expected = ApplyPlainly(masked, words);
    ApplyLexicon(masked, LexiconOf(words));
    ASSERT_EQ(masked.Text, expected.Text) << seed;
    ASSERT_EQ(masked.Mask, expected.Mask) << seed;
  }
}

TEST(Lexicon, WordsOfEveryLengthAreFound) {
  const std::string text = "a bc def ghij klmno pqrstuvw";
  EXPECT_EQ(
      Apply(
          text,
          {{"pqrstuvw", "8"}, {"klmno", "5"}, {"ghij", "4"}, {"def", "3"}, {"bc", "2"}, {"a", "1"}})
          .Text,
      "1 2 3 4 5 8");
}

TEST(Lexicon, WordsWithOneBeginningAreToldApart) {
  const Words words = {{"Bahnhof", "Bhf"}, {"Bahnsteig", "Steig"}, {"Bahn", "B"}};
  EXPECT_EQ(Apply("Bahnhof Bahnsteig Bahnen", words).Text, "Bhf Steig Ben");
}

TEST(Lexicon, DeletionMakesNewWordsForLaterEntriesOnly) {
  EXPECT_EQ(Apply("HambXXurg", {{"XX", ""}, {"Hamburg", "HH"}}).Text, "HH");
  EXPECT_EQ(Apply("HambXXurg", {{"Hamburg", "HH"}, {"XX", ""}}).Text, "Hamburg");
}

TEST(Lexicon, RandomLargeLexicaReplaceAsThePlainCode) {
  for (unsigned int seed = 0; seed < 300; ++seed) {
    std::mt19937 random(seed);
    kaMaskedText masked = MakeFreeText(RandomWord(random, 300));
    Words words;
    for (int i = 0; i < 100; ++i)
      words.emplace_back(RandomWord(random, 9) + "b", RandomWord(random, random() % 3));
    const kaMaskedText expected = ApplyPlainly(masked, words);
    ApplyLexicon(masked, LexiconOf(words));
    ASSERT_EQ(masked.Text, expected.Text) << seed;
    ASSERT_EQ(masked.Mask, expected.Mask) << seed;
  }
}

TEST(Lexicon, ReplacementsTellEntryAndPlaceInTheOrderInWhichTheyHappen) {
  kaMaskedText masked = MakeFreeText("Hbf a Hbf");
  std::vector<kaReplacement> replacements;
  kaLexicon(LexiconOf({{"x", "y"}, {"Hbf", "Hauptbahnhof"}, {"a", "und"}}).ProfValues)
      .ApplyTo(masked, &replacements);
  EXPECT_EQ(masked.Text, "Hauptbahnhof und Hauptbahnhof");
  EXPECT_THAT(replacements, testing::ElementsAre(kaReplacement{1, 0, "Hbf", "Hauptbahnhof"},
                                                 kaReplacement{1, 15, "Hbf", "Hauptbahnhof"},
                                                 kaReplacement{2, 13, "a", "und"}));
}

TEST(Lexicon, ReplacementsHaveTheSearchAfterADeletion) {
  kaMaskedText masked = MakeFreeText("HambXXurg");
  std::vector<kaReplacement> replacements;
  kaLexicon(LexiconOf({{"XX", ""}, {"Hamburg", "HH"}}).ProfValues).ApplyTo(masked, &replacements);
  EXPECT_THAT(replacements, testing::ElementsAre(kaReplacement{0, 4, "XX", ""},
                                                 kaReplacement{1, 0, "Hamburg", "HH"}));
}

TEST(Lexicon, OccurrencesThatAreProtectedAreNoReplacements) {
  kaMaskedText masked = MakeFreeText("ab");
  std::vector<kaReplacement> replacements;
  kaLexicon(LexiconOf({{"ab", "aab"}, {"a", "x"}}).ProfValues).ApplyTo(masked, &replacements);
  EXPECT_EQ(masked.Text, "aab");
  EXPECT_THAT(replacements, testing::ElementsAre(kaReplacement{0, 0, "ab", "aab"}));
}

/// The replacements, done one after another, lead from the text to the result.
TEST(Lexicon, RandomReplacementsLeadToTheResult) {
  for (unsigned int seed = 0; seed < 300; ++seed) {
    std::mt19937 random(seed);
    kaMaskedText masked = MakeFreeText(RandomWord(random, 100));
    std::string replayed = masked.Text;
    Words words;
    for (int i = 0; i < 20; ++i)
      words.emplace_back(RandomWord(random, 4) + "b", RandomWord(random, random() % 3));
    std::vector<kaReplacement> replacements;
    kaLexicon(LexiconOf(words).ProfValues).ApplyTo(masked, &replacements);
    for (const kaReplacement& done : replacements) {
      ASSERT_EQ(replayed.substr(done.Position, done.Word.size()), done.Word) << seed;
      ASSERT_EQ(words.at(done.Entry), (std::pair{done.Word, done.Value})) << seed;
      replayed.replace(done.Position, done.Word.size(), done.Value);
    }
    ASSERT_EQ(replayed, masked.Text) << seed;
  }
}
