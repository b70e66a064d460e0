#include <gmock/gmock.h>

#include <filesystem>
#include <string>
#include <vector>

#include "demo_station.h"
#include "program.h"

namespace toolstest {

namespace {

namespace fs = std::filesystem;
using ::testing::HasSubstr;

TEST(KaTts, HelpIsFineAndNamesTheCommands) {
  const Ended ended = RunTool({"--help"});
  EXPECT_EQ(ended.Status, 0);
  EXPECT_THAT(ended.Out, HasSubstr("check"));
  EXPECT_THAT(ended.Out, HasSubstr("tools for announcements and their server"));
}

TEST(KaTts, HelpIsGermanWhereTheLocaleIs) {
  EXPECT_THAT(RunTool({"--help"}, {{"LC_ALL", "de_DE.UTF-8"}}).Out, HasSubstr("Werkzeuge"));
  EXPECT_THAT(RunTool({"check", "--help", "--lang", "de"}).Out, HasSubstr("Verzeichnis"));
  EXPECT_THAT(RunTool({"check", "--lang=en", "--help"}, {{"LC_ALL", "de_DE.UTF-8"}}).Out,
              HasSubstr("directory"));
}

TEST(KaTts, VersionIsFine) {
  const Ended ended = RunTool({"--version"});
  EXPECT_EQ(ended.Status, 0);
  EXPECT_THAT(ended.Out, ::testing::MatchesRegex("ka-tts [0-9.]+\n"));
}

TEST(KaTts, BadUsageEndsWithTwo) {
  const std::vector<std::vector<std::string>> bad = {{},
                                                     {"nonsense"},
                                                     {"check", "--nonsense"},
                                                     {"check", "--lang", "fr"},
                                                     {"check", "--color", "red"},
                                                     {"check", "--station"},
                                                     {"check", "--markdown"}};
  for (const auto& arguments : bad) {
    const Ended ended = RunTool(arguments);
    EXPECT_EQ(ended.Status, 2) << ::testing::PrintToString(arguments);
    EXPECT_NE(ended.Err, "") << ::testing::PrintToString(arguments);
  }
}

TEST(KaTts, StationThatIsNoneEndsWithTwo) {
  const Ended ended = RunTool({"check", "--station", "/nonexistent"});
  EXPECT_EQ(ended.Status, 2);
  EXPECT_EQ(ended.Out, "");
  EXPECT_EQ(ended.Err, "ka-tts: /nonexistent: is no directory\n");
  EXPECT_EQ(RunTool({"check", "--station", "/nonexistent", "--lang", "de"}).Err,
            "ka-tts: /nonexistent: ist kein Verzeichnis\n");
}

TEST(KaTts, StationIsTheProgramsOwnDirectoryByDefault) {
  const DemoStation demo;
  fs::copy_file(ToolPath(), demo.Sub("ka-tts"));
  const Ended ended = RunToolAt(demo.Sub("ka-tts"), {"check"});
  EXPECT_EQ(ended.Status, 0) << ended.Err << ended.Out;
}

}  // namespace

}  // namespace toolstest
