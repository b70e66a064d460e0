// The demo station in the real server, with an engine that only records.

#include <filesystem>
#include <map>
#include <sstream>

#include "demo_station.h"

namespace servertest {

namespace {

using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;

using Texts = std::map<std::string, std::string>;

constexpr const char* kNotGenerated = "Die Meldung konnte nicht generiert werden!!!\n";

class Station : public DemoStation {
 protected:
  Station() { UseStubEngine(); }

  /// The lines "STORE-FILE<TAB>TEXT" of a sample block; none if it is to be rejected.
  Texts Expected(const std::string& name) const {
    const std::string placed = Replaced(Replaced(ExpectedTexts(name), "@SOUNDS@", SoundsPath()),
                                        "@STEADY@", stage().Dir() + "/run/steady");
    Texts texts;
    std::istringstream lines(placed);
    for (std::string line; std::getline(lines, line);) {
      const std::size_t tab = line.find('\t');
      if (tab != std::string::npos) texts[line.substr(0, tab)] = line.substr(tab + 1);
    }
    return texts;
  }
  /// The files without ending in the store directory.
  Texts Stored() const {
    Texts texts;
    for (const std::string& name : Entries(stage().Store())) {
      if (!name.ends_with(".wav")) texts[name] = Content(stage().Store() + "/" + name);
    }
    return texts;
  }
  void EmptyStore() const {
    for (const std::string& name : Entries(stage().Store()))
      stage().Remove("run/store/" + name);
  }
};

TEST_F(Station, EverySampleBlockGivesItsExpectedTexts) {
  Start();
  std::size_t accepted = 0;
  for (const std::string& name : SampleBlocks()) {
    SCOPED_TRACE(name);
    EmptyStore();
    const std::size_t outBefore = Out().size();
    const std::size_t errBefore = Err().size();
    EXPECT_EQ(AskData(SampleBlock(name)), kReceived);
    const Texts expected = Expected(name);
    EXPECT_EQ(Stored(), expected);
    if (ExpectedTexts(name) == "rejected\n") {
      EXPECT_THAT(Err().substr(errBefore), HasSubstr(kNotGenerated));
      continue;
    }
    ++accepted;
    EXPECT_FALSE(expected.empty());
    EXPECT_THAT(Out().substr(outBefore), HasSubstr("--- Meldung OK \n"));
    for (const auto& [file, text] : expected) {
      EXPECT_EQ(Content(stage().Play() + "/" + file + ".wav"), StubSpeech(text)) << file;
    }
  }
  EXPECT_GE(accepted, 8U);
}

TEST_F(Station, StartsAndEndsWithATextForEveryMessage) {
  Start();
  EXPECT_EQ(Err(), "");
  EXPECT_EQ(Terminate(), "exit 0");
  EXPECT_THAT(Out(), Not(HasSubstr("Meldungsfehler")));
  EXPECT_EQ(CountOf(Out(), "ka-TTS-Server: "), 3U);
}

TEST_F(Station, PreparesAllItsPhrasesOnce) {
  Start();
  std::size_t phrases = 0;
  for (const char* language : {"de", "en"}) {
    const std::string directory = stage().Steady() + "/" + language;
    for (const std::string& name : Entries(directory)) {
      if (!name.ends_with(".txt")) continue;
      ++phrases;
      const std::string base = directory + "/" + name.substr(0, name.size() - 4);
      EXPECT_EQ(Content(base + ".wav"), StubSpeech(Content(base + ".txt")));
    }
  }
  EXPECT_GT(phrases, 0U);
  EXPECT_EQ(stubs().CallsOf("engine").size(), phrases);
  EXPECT_EQ(Terminate(), "exit 0");
  stubs().ForgetCalls();
  Start();
  EXPECT_THAT(stubs().Calls(), IsEmpty());
}

TEST_F(Station, SoundsOfTheTextsAndOfTheBellExist) {
  Start();
  AskCommand("!bell");
  const std::vector<std::string> bell = stubs().CallsOf("aplay");
  ASSERT_EQ(bell.size(), 1U);
  EXPECT_TRUE(std::filesystem::exists(
      bell[0].substr(bell[0].find('[') + 1, bell[0].find(']') - bell[0].find('[') - 1)))
      << bell[0];
  for (const std::string& name : SampleBlocks()) {
    for (const auto& [file, text] : Expected(name)) {
      for (std::size_t at = text.find("(play="); at != std::string::npos;
           at = text.find("(play=", at + 1)) {
        const std::string sound = text.substr(at + 6, text.find(')', at) - at - 6);
        EXPECT_TRUE(std::filesystem::exists(sound)) << name << ": " << sound;
      }
    }
  }
}

TEST_F(Station, ShippedRestartScriptStartsAServerThatAnswersSixtyConnections) {
  for (const char* tool : {"setsid", "sleep", "dirname"})
    stubs().AddReal(tool);
  Start();
  const std::size_t before = Out().size();
  AskCommand("!restart");
  EXPECT_EQ(Describe(server().AwaitEnd()), "exit 0");
  const auto restarted = [&] { return CountOf(Out().substr(before), "ka-TTS-Server: ") == 3; };
  ASSERT_TRUE(WaitUntil(restarted)) << Out().substr(before) << Err();
  for (const unsigned port : {stage().TextPort(), stage().DataPort(), stage().CommandPort()}) {
    ASSERT_TRUE(WaitUntil([&] { return AnyoneListensOn(port); }));
  }
  for (int round = 0; round < 20; ++round) {
    ASSERT_EQ(AskText("///"), kReceived) << round;
    ASSERT_EQ(AskData("no block"), kReceived) << round;
    ASSERT_EQ(AskCommand("none"), kReceived) << round;
  }
  EXPECT_THAT(Err(), HasSubstr("Meldung Nr. 20 --- "));
}

}  // namespace

}  // namespace servertest
