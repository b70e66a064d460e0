#include <gmock/gmock.h>

#include <string>

#include "demo_station.h"
#include "program.h"

namespace toolstest {

namespace {

using ::testing::HasSubstr;
using ::testing::Not;

constexpr const char* kConfig = "kaconfig/kaTtsServer.kacfg";

/// The texts of findings about files and configuration; their places are the fixtures' part.
class FileRules : public ::testing::Test {
 protected:
  std::string Check() const { return RunTool({"check", "--station", demo.Dir()}).Out; }
  void Configure(const std::string& from, const std::string& to) const {
    demo.Replace(kConfig, from, to);
  }

  DemoStation demo;
};

TEST_F(FileRules, UnknownKeyComesWithTheOneThatIsMeant) {
  Configure("bellfile=", "belfile=");
  EXPECT_THAT(Check(), HasSubstr("\"belfile\" is unknown; did you mean \"bellfile\"?"));
}

TEST_F(FileRules, MissingLexiconComesWithTheOneThatIsMeant) {
  demo.Replace("announcements/station.xml",
               "<Speech id=\"via\" prefix=\" über \" lexicon=\"stations\"",
               "<Speech id=\"via\" prefix=\" über \" lexicon=\"station\"");
  EXPECT_THAT(Check(), HasSubstr("the language \"de\" has no lexicon \"station\"; did you mean "
                                 "\"stations\"?"));
}

TEST_F(FileRules, NumberIsToldAsTheServerReadsIt) {
  Configure("TimeoutCache=\"1800\"", "TimeoutCache=\"4294967301\"");
  EXPECT_THAT(Check(), HasSubstr("server: It reads 5."));
}

TEST_F(FileRules, PortIsToldThatTheServerTakesInstead) {
  Configure("\"5701\"", "\"65535\"");
  EXPECT_THAT(Check(), HasSubstr("server: It takes port 50000 for this purpose."));
}

TEST_F(FileRules, LowerDigitsOfALargePortAreAPort) {
  Configure("\"5701\"", "\"4294973000\"");
  EXPECT_THAT(Check(), HasSubstr("server: It takes port 5704 for this purpose."));
}

TEST_F(FileRules, RootOfTheFileSystemIsNeverEmptied) {
  Configure(demo.Sub("run/store"), "/");
  EXPECT_THAT(Check(), HasSubstr("\"/\" holds the server itself\n"
                                 "    server: It never clears there"));
}

TEST_F(FileRules, FixedDirectoriesAreLookedAtOnlyIfTheyAreEmptied) {
  Configure(demo.Sub("run/steady"), demo.Dir());
  EXPECT_THAT(Check(), Not(HasSubstr("directory-around-server")));
}

TEST_F(FileRules, SharedPhrasesNeedADirectoryOfEachLanguage) {
  demo.Write("announcements/station.xml", R"(<Station><References>
<Language name="de"><Voice sex="male">de</Voice></Language>
<Language name="fr"><Voice sex="male">fr</Voice></Language>
<Language name="all"><Element id="x" trait="steady" text="x"/></Language>
</References><Assembly/></Station>)");
  EXPECT_THAT(Check(), HasSubstr("station.xml:3:17: error directory-missing: the directory \"" +
                                 demo.Sub("run/steady/fr") + "\" does not exist"));
  EXPECT_THAT(Check(), Not(HasSubstr(demo.Sub("run/steady/all"))));
}

TEST_F(FileRules, LargestBlockIsCountedWithTheLongestSamples) {
  demo.Write("announcements/blocks/one.xml",
             "<rbl><row via=\"" + std::string(2000, 'x') + "\"/></rbl>");
  EXPECT_THAT(Check(), HasSubstr("write: maxrows=\"5\" or less"));
  demo.Replace("announcements/station.xml", "maxrows=\"6\"", "maxrows=\"5\"");
  EXPECT_THAT(Check(), Not(HasSubstr("largest-block-too-large")));
}

TEST_F(FileRules, RefusedSampleTellsNothingOfValues) {
  demo.Write("announcements/blocks/one.xml", "<rbl><row via=\"" + std::string(2000, 'x') + "\"/>");
  EXPECT_THAT(Check(), Not(HasSubstr("largest-block-too-large")));
}

TEST_F(FileRules, CodingOfASoundIsTold) {
  std::string gong = support::ReadFile(demo.Sub("announcements/sounds/gong.wav"));
  gong[20] = 7;
  demo.Write("announcements/sounds/gong.wav", gong);
  EXPECT_THAT(Check(), HasSubstr("but one of coding 7\n"));
}

}  // namespace

}  // namespace toolstest
