#include "TextCleaner.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <random>
#include <string>

using engine::CleanText;
using engine::InQuotes;

namespace {

const std::string kReplacement = "\xEF\xBF\xBD";

bool HasControlCharacter(const std::string& text) {
  for (std::size_t i = 0; i < text.size(); ++i) {
    const auto byte = static_cast<std::uint8_t>(text[i]);
    if (byte < 0x20 || byte == 0x7F) return true;
    const bool beginsC1 = byte == 0xC2 && i + 1 < text.size();
    if (beginsC1 && static_cast<std::uint8_t>(text[i + 1]) < 0xA0) return true;
  }
  return false;
}

}  // namespace

TEST(TextCleaner, ValidTextStaysAsItIs) {
  for (const std::string text : {"", "Gleis 5", "fällt aus", "łódź €", "\xF0\x9F\x9A\x86 train",
                                 "\xED\x9F\xBF", "\xEE\x80\x80", "\xF4\x8F\xBF\xBF"}) {
    EXPECT_EQ(CleanText(text), text);
  }
}

TEST(TextCleaner, EachInvalidByteIsReplaced) {
  EXPECT_EQ(CleanText("f\xE4llt"), "f" + kReplacement + "llt");
  EXPECT_EQ(CleanText("\x80"), kReplacement);
  EXPECT_EQ(CleanText("a\xFF\xFE z"), "a" + kReplacement + kReplacement + " z");
}

TEST(TextCleaner, SequenceThatBreaksOffIsReplaced) {
  EXPECT_EQ(CleanText("ab\xC3"), "ab" + kReplacement);
  EXPECT_EQ(CleanText("\xE2\x82"), kReplacement + kReplacement);
  EXPECT_EQ(CleanText("\xE2\x82x"), kReplacement + kReplacement + "x");
}

TEST(TextCleaner, OverlongFormsSurrogatesAndTooLargeCodesAreReplaced) {
  EXPECT_EQ(CleanText("\xC0\xAF"), kReplacement + kReplacement);
  EXPECT_EQ(CleanText("\xE0\x80\xAF"), kReplacement + kReplacement + kReplacement);
  EXPECT_EQ(CleanText("\xED\xA0\x80"), kReplacement + kReplacement + kReplacement);
  EXPECT_EQ(CleanText("\xF0\x80\x80\xAF"),
            kReplacement + kReplacement + kReplacement + kReplacement);
  EXPECT_EQ(CleanText("\xF4\x90\x80\x80"),
            kReplacement + kReplacement + kReplacement + kReplacement);
}

TEST(TextCleaner, ControlCharactersAreDropped) {
  using namespace std::string_literals;
  EXPECT_EQ(CleanText("a\x1B"
                      "b"),
            "ab");
  EXPECT_EQ(CleanText("a\0b"s), "ab");
  EXPECT_EQ(CleanText("a\x01\x07\x7F"
                      "b"),
            "ab");
  EXPECT_EQ(CleanText("a\xC2\x80\xC2\x9F"
                      "b"),
            "ab");
  EXPECT_EQ(CleanText("a\xC2\xA0"
                      "b"),
            "a\xC2\xA0"
            "b");
}

TEST(TextCleaner, TabsAndLineEndsBecomeBlanks) {
  EXPECT_EQ(CleanText("Zug\nfährt\tab\r\n"), "Zug fährt ab  ");
}

TEST(TextCleaner, ByteOrderMarkAtTheBeginningIsDropped) {
  EXPECT_EQ(CleanText("\xEF\xBB\xBF"
                      "Gleis"),
            "Gleis");
}

TEST(TextCleaner, CleaningACleanTextChangesNothing) {
  std::mt19937 random(7);  // NOLINT(cert-msc32-c,cert-msc51-cpp): the same in every run
  for (int round = 0; round < 2000; ++round) {
    std::string bytes;
    for (auto i = random() % 40; i > 0; --i)
      bytes += static_cast<char>(random());
    const std::string once = CleanText(bytes);
    EXPECT_FALSE(HasControlCharacter(once)) << testing::PrintToString(bytes);
    EXPECT_EQ(CleanText(once), once) << testing::PrintToString(bytes);
  }
}

TEST(TextCleaner, QuotedTextIsShortAndOfOneLine) {
  EXPECT_EQ(InQuotes("de"), "'de'");
  EXPECT_EQ(InQuotes("a\nb"), "'a b'");
  EXPECT_EQ(InQuotes(std::string(60, 'x')), "'" + std::string(60, 'x') + "'");
  EXPECT_EQ(InQuotes(std::string(61, 'x')), "'" + std::string(60, 'x') + "...'");
}

TEST(TextCleaner, QuotedTextIsNotCutWithinACharacter) {
  EXPECT_EQ(InQuotes(std::string(59, 'x') + "€ und mehr"), "'" + std::string(59, 'x') + "...'");
}
