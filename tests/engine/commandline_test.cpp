#include "CommandLine.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <vector>

using engine::CommandLine;
using engine::UsageError;
using Action = CommandLine::Action;
using testing::HasSubstr;

namespace {

CommandLine Parse(const std::vector<const char*>& arguments) {
  return CommandLine::Parse(arguments);
}

std::string ErrorOf(const std::vector<const char*>& arguments) {
  try {
    CommandLine::Parse(arguments);
  } catch (const UsageError& error) {
    return error.what();
  }
  return "";
}

}  // namespace

TEST(CommandLine, OneOperandIsATextToSpeak) {
  const CommandLine line = Parse({"--voice", "de", "--", "Zug fällt aus"});
  EXPECT_EQ(line.action, Action::Speak);
  EXPECT_EQ(line.voice, "de");
  EXPECT_EQ(line.text, "Zug fällt aus");
}

TEST(CommandLine, TwoOperandsAreATextFileAndAWavFile) {
  const CommandLine line = Parse({"--discard-on-failure", "--", "store/de0", "store/de0.wav"});
  EXPECT_EQ(line.action, Action::Save);
  EXPECT_EQ(line.textFile, "store/de0");
  EXPECT_EQ(line.wavFile, "store/de0.wav");
  EXPECT_TRUE(line.discardOnFailure);
}

TEST(CommandLine, DefaultsAreEnglishTwentySecondsAndNoDiscarding) {
  const CommandLine line = Parse({"--", "a", "b"});
  EXPECT_EQ(line.voice, "en");
  EXPECT_EQ(line.timeLimit, std::chrono::seconds(20));
  EXPECT_FALSE(line.discardOnFailure);
}

TEST(CommandLine, LevelIsMinusTwentyThreeLufsUnlessGivenOrOff) {
  EXPECT_EQ(Parse({"x"}).level, -23);
  EXPECT_EQ(Parse({"--level", "-18.5", "x"}).level, -18.5);
  EXPECT_EQ(Parse({"--level=-50", "x"}).level, -50);
  EXPECT_EQ(Parse({"--level=-10", "x"}).level, -10);
  EXPECT_EQ(Parse({"--level", "off", "x"}).level, std::nullopt);
}

TEST(CommandLine, LevelOutOfRangeOrWithoutSenseIsRefused) {
  for (const char* value : {"", "-9.9", "-50.1", "23", "-23 LUFS", "on", "nan", "-inf", "--"}) {
    EXPECT_THAT(ErrorOf({"--level", value, "x"}), HasSubstr("--level takes -50 to -10")) << value;
  }
  EXPECT_EQ(ErrorOf({"--level"}), "option --level needs a value");
}

TEST(CommandLine, EverythingBehindTheDoubleDashIsOperand) {
  EXPECT_EQ(Parse({"--", "-5 Grad"}).text, "-5 Grad");
  EXPECT_EQ(Parse({"--", "--help"}).text, "--help");
  EXPECT_EQ(Parse({"--", "--"}).text, "--");
  EXPECT_EQ(Parse({"--", ""}).text, "");
}

TEST(CommandLine, FirstOperandEndsTheOptions) {
  const CommandLine line = Parse({"Hallo", "--voice"});
  EXPECT_EQ(line.action, Action::Save);
  EXPECT_EQ(line.wavFile, "--voice");
}

TEST(CommandLine, LoneDashIsAnOperand) {
  EXPECT_EQ(Parse({"-"}).text, "-");
  EXPECT_EQ(Parse({"text", "-"}).wavFile, "-");
}

TEST(CommandLine, ValueMayBeBehindAnEqualsSign) {
  EXPECT_EQ(Parse({"--voice=en-gb+f3", "x"}).voice, "en-gb+f3");
  EXPECT_EQ(Parse({"--time-limit=7", "x"}).timeLimit, std::chrono::seconds(7));
}

TEST(CommandLine, ValueMayBeginWithADash) {
  EXPECT_EQ(Parse({"--voice", "--", "x"}).voice, "--");
}

TEST(CommandLine, HelpAndVersionNeedNoText) {
  EXPECT_EQ(Parse({"--help"}).action, Action::ShowHelp);
  EXPECT_EQ(Parse({"--version"}).action, Action::ShowVersion);
}

TEST(CommandLine, HelpNamesEveryOption) {
  for (const char* option :
       {"--voice", "--discard-on-failure", "--time-limit", "--help", "--version"}) {
    EXPECT_THAT(CommandLine::Help(), HasSubstr(option));
  }
}

TEST(CommandLine, WrongNumberOfOperandsIsRefused) {
  EXPECT_THAT(ErrorOf({}), HasSubstr("0 arguments"));
  EXPECT_THAT(ErrorOf({"--voice", "de", "--"}), HasSubstr("0 arguments"));
  EXPECT_THAT(ErrorOf({"--", "a", "b", "c"}), HasSubstr("3 arguments"));
}

TEST(CommandLine, UnknownOptionIsRefusedWithAHintAtTheDoubleDash) {
  EXPECT_THAT(ErrorOf({"-5 Grad"}), HasSubstr("'-5 Grad' (\"--\" goes before a text)"));
  EXPECT_THAT(ErrorOf({"--voices", "de", "x"}), HasSubstr("'--voices'"));
}

TEST(CommandLine, MissingAndSuperfluousValuesAreRefused) {
  EXPECT_THAT(ErrorOf({"--voice"}), HasSubstr("--voice needs a value"));
  EXPECT_THAT(ErrorOf({"--voice=", "x"}), HasSubstr("--voice needs a name"));
  EXPECT_THAT(ErrorOf({"--discard-on-failure=no", "a", "b"}), HasSubstr("takes no value"));
}

TEST(CommandLine, TimeLimitOutOfRangeIsRefused) {
  for (const char* value : {"0", "-1", "3601", "x", "5s", "", "99999999999"}) {
    EXPECT_THAT(ErrorOf({"--time-limit", value, "a", "b"}), HasSubstr("1 to 3600")) << value;
  }
  EXPECT_EQ(Parse({"--time-limit", "3600", "a", "b"}).timeLimit, std::chrono::seconds(3600));
}
