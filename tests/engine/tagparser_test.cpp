#include "TagParser.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <ostream>
#include <random>
#include <string>
#include <vector>

using engine::AudioPiece;
using engine::ParsedText;
using engine::PausePiece;
using engine::Piece;
using engine::Pieces;
using engine::SpeechPiece;
using engine::SpeechSettings;
using engine::TagParser;
using std::chrono::milliseconds;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

namespace engine {

void PrintTo(const SpeechSettings& settings, std::ostream* out) {
  *out << settings.voice << "/" << settings.rateWordsPerMinute << "/" << settings.pitch << "/"
       << settings.volume;
}
void PrintTo(const SpeechPiece& piece, std::ostream* out) {
  *out << "speech \"" << piece.text << "\" " << testing::PrintToString(piece.settings);
}
void PrintTo(const AudioPiece& piece, std::ostream* out) {
  *out << "audio " << piece.path;
}
void PrintTo(const PausePiece& piece, std::ostream* out) {
  *out << "pause " << piece.length.count();
}

}  // namespace engine

namespace {

ParsedText Parse(const std::string& text) {
  return TagParser::Parse(text, "de");
}

Piece Speech(const std::string& text, const SpeechSettings& settings = {.voice = "de"}) {
  return SpeechPiece{text, settings};
}

Piece Audio(const std::string& path) {
  return AudioPiece{path};
}

Piece Pause(int ms) {
  return PausePiece{milliseconds(ms)};
}

// All that is spoken, tags and settings aside.
std::string SpokenText(const Pieces& pieces) {
  std::string text;
  for (const Piece& piece : pieces) {
    if (const auto* speech = std::get_if<SpeechPiece>(&piece)) text += speech->text;
  }
  return text;
}

}  // namespace

TEST(TagParser, TextWithoutTagsIsSpokenWithTheDefaultVoice) {
  const ParsedText parsed = Parse("Zug fällt aus.");
  EXPECT_THAT(parsed.pieces, ElementsAre(Speech("Zug fällt aus.", {"de", 175, 50, 100})));
  EXPECT_THAT(parsed.warnings, IsEmpty());
}

TEST(TagParser, EmptyAndBlankTextsHaveNoPieces) {
  for (const std::string text : {"", " ", "  \n\t "}) {
    const ParsedText parsed = Parse(text);
    EXPECT_THAT(parsed.pieces, IsEmpty());
    EXPECT_THAT(parsed.warnings, IsEmpty());
  }
}

TEST(TagParser, AudioTagAsTheServersDefaultPrefixAndSuffixMakeIt) {
  EXPECT_THAT(Parse(" \\audio(play=/snd/gong.wav) Achtung").pieces,
              ElementsAre(Audio("/snd/gong.wav"), Speech(" Achtung")));
}

TEST(TagParser, AudioFileNameMayHaveBlanksAndEqualsSigns) {
  EXPECT_THAT(Parse("\\audio(play=/my sounds/a=b.wav)").pieces,
              ElementsAre(Audio("/my sounds/a=b.wav")));
}

TEST(TagParser, AudioBetweenTextsKeepsTheOrder) {
  EXPECT_THAT(Parse("a \\audio(play=1.wav)\\audio(play=2.wav) b").pieces,
              ElementsAre(Speech("a "), Audio("1.wav"), Audio("2.wav"), Speech(" b")));
}

TEST(TagParser, AudioWithoutAFileIsSkippedWithAWarning) {
  for (const std::string tag :
       {"\\audio()", "\\audio(x.wav)", "\\audio(play=)", "\\audio(Play=x)"}) {
    const ParsedText parsed = Parse(tag + "Gleis");
    EXPECT_THAT(parsed.pieces, ElementsAre(Speech("Gleis")));
    EXPECT_THAT(parsed.warnings, ElementsAre(HasSubstr(tag + "' skipped")));
  }
}

TEST(TagParser, ArgumentEndsAtTheFirstClosingParenthesis) {
  EXPECT_THAT(Parse("\\audio(play=a(1).wav) b").pieces,
              ElementsAre(Audio("a(1"), Speech(".wav) b")));
}

TEST(TagParser, VoiceHoldsUntilTheNextOne) {
  EXPECT_THAT(Parse("eins\\voice(en-gb+f3) two \\audio(play=x) three\\voice(de)vier").pieces,
              ElementsAre(Speech("eins"), Speech(" two ", {.voice = "en-gb+f3"}), Audio("x"),
                          Speech(" three", {.voice = "en-gb+f3"}), Speech("vier")));
}

TEST(TagParser, VoiceWithoutANameIsSkippedWithAWarning) {
  const ParsedText parsed = Parse("\\voice( )x");
  EXPECT_THAT(parsed.pieces, ElementsAre(Speech("x")));
  EXPECT_THAT(parsed.warnings, ElementsAre(HasSubstr("skipped")));
}

TEST(TagParser, TagsBeforeTheFirstTextAddNothing) {
  EXPECT_THAT(Parse("\\voice(en) \\rate(120) Hello").pieces,
              ElementsAre(Speech(" Hello", {"en", 120, 50, 100})));
}

TEST(TagParser, RatePitchAndVolumeHoldIndependently) {
  EXPECT_THAT(Parse("\\rate(120)a\\pitch(30)b\\volume(180)c\\rate(175)d").pieces,
              ElementsAre(Speech("a", {"de", 120, 50, 100}), Speech("b", {"de", 120, 30, 100}),
                          Speech("c", {"de", 120, 30, 180}), Speech("d", {"de", 175, 30, 180})));
}

TEST(TagParser, TagThatChangesNothingDoesNotDivideTheText) {
  EXPECT_THAT(Parse("von \\volume(100)Gleis \\voice(de)5").pieces,
              ElementsAre(Speech("von Gleis 5")));
}

TEST(TagParser, PauseStandsBetweenTheTexts) {
  EXPECT_THAT(Parse("a\\pause(750)b").pieces, ElementsAre(Speech("a"), Pause(750), Speech("b")));
}

TEST(TagParser, BlanksAroundAnArgumentDoNotCount) {
  const ParsedText parsed = Parse("\\pause( 5 )\\voice( en )x\\audio( play=y )");
  EXPECT_THAT(parsed.pieces, ElementsAre(Pause(5), Speech("x", {.voice = "en"}), Audio("y")));
  EXPECT_THAT(parsed.warnings, IsEmpty());
}

TEST(TagParser, LimitsThemselvesAreInRange) {
  for (const std::string tag : {"\\pause(0)", "\\pause(60000)", "\\rate(80)", "\\rate(450)",
                                "\\pitch(0)", "\\pitch(99)", "\\volume(0)", "\\volume(200)"}) {
    EXPECT_THAT(Parse(tag).warnings, IsEmpty()) << tag;
  }
}

TEST(TagParser, NumberOutOfRangeIsTakenAsTheNearestOneWithAWarning) {
  struct Case {
    const char* tag;
    SpeechSettings settings;
  };
  for (const Case& c : std::vector<Case>{{"\\rate(79)", {"de", 80, 50, 100}},
                                         {"\\rate(451)", {"de", 450, 50, 100}},
                                         {"\\pitch(-1)", {"de", 175, 0, 100}},
                                         {"\\pitch(100)", {"de", 175, 99, 100}},
                                         {"\\volume(-20)", {"de", 175, 50, 0}},
                                         {"\\volume(201)", {"de", 175, 50, 200}}}) {
    const ParsedText parsed = Parse(std::string(c.tag) + "x");
    EXPECT_THAT(parsed.pieces, ElementsAre(Speech("x", c.settings))) << c.tag;
    EXPECT_THAT(parsed.warnings, ElementsAre(HasSubstr(c.tag))) << c.tag;
  }
}

TEST(TagParser, EnormousPauseIsOneMinute) {
  for (const std::string number : {"60001", "4294967296", "99999999999999999999999999"}) {
    const ParsedText parsed = Parse("\\pause(" + number + ")");
    EXPECT_THAT(parsed.pieces, ElementsAre(Pause(60000))) << number;
    EXPECT_THAT(parsed.warnings, ElementsAre(HasSubstr("taken as 60000"))) << number;
  }
  EXPECT_THAT(Parse("\\pause(-99999999999999999999999999)").pieces, ElementsAre(Pause(0)));
}

TEST(TagParser, WhatIsNoNumberIsSkippedWithAWarning) {
  for (const std::string argument : {"", "x", "5s", "1.5", "--5", "+-5", "0x10", "5 0"}) {
    std::string text = "\\rate(";
    text.append(argument).append(")a\\pause(").append(argument).append(")b");
    const ParsedText parsed = Parse(text);
    EXPECT_THAT(parsed.pieces, ElementsAre(Speech("ab"))) << argument;
    EXPECT_THAT(parsed.warnings, ElementsAre(HasSubstr("\\rate"), HasSubstr("\\pause")))
        << argument;
  }
}

TEST(TagParser, UnknownTagIsSkippedWithAWarningAndDoesNotDivideTheText) {
  const ParsedText parsed = Parse("Der \\font(bold)Zug");
  EXPECT_THAT(parsed.pieces, ElementsAre(Speech("Der Zug")));
  EXPECT_THAT(parsed.warnings, ElementsAre("'\\font(bold)' skipped: unknown tag"));
}

TEST(TagParser, TagNamesAreWrittenInLowerCase) {
  const ParsedText parsed = Parse("\\PAUSE(5)x");
  EXPECT_THAT(parsed.pieces, ElementsAre(Speech("x")));
  EXPECT_THAT(parsed.warnings, ElementsAre(HasSubstr("unknown tag")));
}

TEST(TagParser, UnterminatedTagIsSpokenWithoutItsBackslash) {
  const ParsedText parsed = Parse("a \\pause(500 b \\audio(play=x");
  EXPECT_THAT(parsed.pieces, ElementsAre(Speech("a pause(500 b audio(play=x")));
  EXPECT_THAT(parsed.warnings, IsEmpty());
}

TEST(TagParser, OtherBackslashesAreDroppedAlone) {
  for (const auto& [text, spoken] :
       std::vector<std::pair<std::string, std::string>>{{"a\\b", "ab"},
                                                        {"a\\", "a"},
                                                        {"\\\\x", "x"},
                                                        {"\\(5)", "(5)"},
                                                        {"\\5(5)", "5(5)"},
                                                        {"\\pause (5)", "pause (5)"},
                                                        {"\\pause5(5)", "pause5(5)"},
                                                        {"\\pä(5)", "pä(5)"},
                                                        {"C:\\snd\\gong", "C:sndgong"}}) {
    const ParsedText parsed = Parse(text);
    EXPECT_THAT(parsed.pieces, ElementsAre(Speech(spoken))) << text;
    EXPECT_THAT(parsed.warnings, IsEmpty()) << text;
  }
}

TEST(TagParser, BackslashBeforeATagIsDroppedAndTheTagCounts) {
  EXPECT_THAT(Parse("\\\\pause(5)").pieces, ElementsAre(Pause(5)));
}

TEST(TagParser, NoTagNameBeginsWithE) {
  const ParsedText parsed = Parse("\\event(3) \\e(4)");
  EXPECT_THAT(parsed.pieces, ElementsAre(Speech("event(3) e(4)")));
  EXPECT_THAT(parsed.warnings, IsEmpty());
}

TEST(TagParser, EscapeCharacterIsDroppedAndWhatFollowsIsSpoken) {
  EXPECT_THAT(Parse("\x1Bvent(3)").pieces, ElementsAre(Speech("vent(3)")));
}

TEST(TagParser, ControlCharactersWithinATagAreDropped) {
  EXPECT_THAT(Parse("\\pau\x07se(5\x1B)").pieces, ElementsAre(Pause(5)));
}

TEST(TagParser, InvalidBytesAreReplacedAndTheRestIsSpoken) {
  EXPECT_THAT(Parse("f\xE4llt \\pause(5)aus").pieces,
              ElementsAre(Speech("f\xEF\xBF\xBDllt "), Pause(5), Speech("aus")));
}

TEST(TagParser, WarningsAreOfOneShortLine) {
  const ParsedText parsed = Parse("\\font(" + std::string(5000, 'x') + "\n)");
  ASSERT_EQ(parsed.warnings.size(), 1U);
  EXPECT_LT(parsed.warnings[0].size(), 120U);
  EXPECT_EQ(parsed.warnings[0].find('\n'), std::string::npos);
}

// Searching the ")" anew for each open tag would take minutes; the test's time limit would end it.
TEST(TagParser, TenMegabytesOfOpenTagsAreReadOnce) {
  std::string text;
  while (text.size() < 10'000'000)
    text += "\\a(";
  EXPECT_EQ(SpokenText(Parse(text).pieces).size(), text.size() / 3 * 2);
}

TEST(TagParser, AnyBytesGiveSpeakableTextInRange) {
  const std::vector<std::string> parts{"\\",   "(",     ")",      "audio", "play=", "voice",
                                       "rate", "pause", "volume", "pitch", "9",     "-",
                                       "e",    "\x1B",  "\xC3",   "ä",     " "};
  std::mt19937 random(11);  // NOLINT(cert-msc32-c,cert-msc51-cpp): the same in every run
  for (int round = 0; round < 5000; ++round) {
    std::string text;
    for (auto i = random() % 30; i > 0; --i)
      text += parts[random() % parts.size()];
    for (const Piece& piece : Parse(text).pieces) {
      const auto* speech = std::get_if<SpeechPiece>(&piece);
      if (speech == nullptr) continue;
      EXPECT_EQ(speech->text.find_first_of("\\\x1B"), std::string::npos) << text;
      EXPECT_NE(speech->text.find_first_not_of(' '), std::string::npos) << text;
      EXPECT_THAT(speech->settings.volume, testing::AllOf(testing::Ge(0), testing::Le(200)))
          << text;
    }
  }
}
