// Completion of the shells, asked for in the shells themselves.

#include <gmock/gmock.h>

#include <nlohmann/json.hpp>
#include <set>

#include "help_text.h"
#include "offered.h"
#include "program.h"
#include "shell_output.h"
#include "support/temp_dir.h"

namespace toolstest {

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

using Words = std::set<std::string>;

Words KeysOf(const std::map<std::string, std::string>& map) {
  Words keys;
  for (const auto& [key, value] : map)
    keys.insert(key);
  return keys;
}

Words CommandNames() {
  const std::vector<std::string> commands = HelpCommands();
  return {commands.begin(), commands.end()};
}

/// The options of a command's help; without `shortOnes` only those with two dashes.
Words HelpNames(const std::string& command, bool shortOnes) {
  Words names;
  for (const HelpOption& option : HelpOptions(HelpOf(command, "en"))) {
    for (const std::string& name : option.Names)
      if (shortOnes || name.starts_with("--")) names.insert(name);
  }
  return names;
}

/// What the key of every object in a printed list holds.
Words Listed(const std::vector<std::string>& command, const char* list, const char* key) {
  Words ids;
  const auto listed = nlohmann::json::parse(RunTool(command).Out);
  for (const auto& item : listed[list])
    ids.insert(item[key]);
  return ids;
}

Words RuleIds() {
  return Listed({"check", "--rules", "--json"}, "rules", "rule");
}

Words FindingIds() {
  return Listed({"doctor", "--findings", "--json"}, "findings", "finding");
}

/// A directory with a file and a directory in it.
class SomeFiles {
 public:
  SomeFiles() {
    dir_.Write("block one.xml", "");
    dir_.Write("blocks/in", "");
  }
  const std::string& Path() const { return dir_.Path(); }

 private:
  support::TempDir dir_;
};

// ---- bash ----

TEST(BashCompletion, OffersTheCommandsOfTheHelp) {
  EXPECT_EQ(OfferedByBash({"ka-tts", ""}), CommandNames());
  EXPECT_THAT(OfferedByBash({"ka-tts", "prev"}), ElementsAre("preview"));
}

TEST(BashCompletion, OffersTheOptionsOfTheHelp) {
  EXPECT_EQ(OfferedByBash({"ka-tts", "-"}), HelpNames("", true));
  for (const std::string& command : HelpCommands())
    EXPECT_EQ(OfferedByBash({"ka-tts", command, "-"}), HelpNames(command, true)) << command;
}

TEST(BashCompletion, OffersTheValuesOfAnOption) {
  EXPECT_THAT(OfferedByBash({"ka-tts", "check", "--lang", ""}), ElementsAre("de", "en"));
  EXPECT_THAT(OfferedByBash({"ka-tts", "check", "--color", "a"}), ElementsAre("always", "auto"));
  EXPECT_EQ(OfferedByBash({"ka-tts", "check", "--explain", ""}), RuleIds());
  EXPECT_EQ(OfferedByBash({"ka-tts", "doctor", "--explain", ""}), FindingIds());
}

TEST(BashCompletion, KnowsAValueBehindAnEqualSign) {
  EXPECT_THAT(OfferedByBash({"ka-tts", "check", "--lang", "="}), ElementsAre("de", "en"));
  EXPECT_THAT(OfferedByBash({"ka-tts", "check", "--lang", "=", "d"}), ElementsAre("de"));
  EXPECT_THAT(OfferedByBash({"ka-tts", "check", "--lang", "=", "de", "--js"}),
              ElementsAre("--json"));
}

TEST(BashCompletion, OffersFilesAndDirectories) {
  const SomeFiles files;
  EXPECT_THAT(OfferedByBash({"ka-tts", "preview", "bl"}, files.Path()),
              ElementsAre("block one.xml", "blocks"));
  EXPECT_THAT(OfferedByBash({"ka-tts", "preview", "--json", "--", "bl"}, files.Path()),
              ElementsAre("block one.xml", "blocks"));
  EXPECT_THAT(OfferedByBash({"ka-tts", "coverage", "--html", ""}, files.Path()),
              ElementsAre("block one.xml", "blocks"));
  EXPECT_THAT(OfferedByBash({"ka-tts", "test", ""}, files.Path()), ElementsAre("blocks"));
  EXPECT_THAT(OfferedByBash({"ka-tts", "check", "--station", ""}, files.Path()),
              ElementsAre("blocks"));
}

TEST(BashCompletion, OffersNoOptionsWhereNoneCanStand) {
  EXPECT_THAT(OfferedByBash({"ka-tts", "preview", "--", "--"}), IsEmpty());
  EXPECT_THAT(OfferedByBash({"ka-tts", "words", "--try", "--"}), IsEmpty());
}

TEST(BashCompletion, CountsTheArgumentsOfAnOption) {
  const SomeFiles files;
  const auto offered = [&files](std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), {"ka-tts", "words", "--add"});
    return OfferedByBash(arguments, files.Path());
  };
  EXPECT_THAT(offered({""}), IsEmpty());
  EXPECT_THAT(offered({"de", "word", ""}), IsEmpty());
  EXPECT_THAT(offered({"de", "word", "replacement", ""}), ElementsAre("block one.xml", "blocks"));
}

TEST(BashCompletion, OffersNothingForAnUnknownCommand) {
  EXPECT_THAT(OfferedByBash({"ka-tts", "nonsense", ""}), IsEmpty());
  EXPECT_THAT(OfferedByBash({"ka-tts", "nonsense", "-"}), IsEmpty());
}

// ---- zsh ----

TEST(ZshCompletion, IsSoundSyntax) {
  EXPECT_THAT(ShellOutput("zsh -n " KA_BUILD_DIR "/completions/_ka-tts"), IsEmpty());
}

TEST(ZshCompletion, OffersTheCommandsOfTheHelp) {
  EXPECT_EQ(KeysOf(OfferedByZsh("ka-tts ")), CommandNames());
}

TEST(ZshCompletion, OffersTheOptionsOfTheHelp) {
  EXPECT_EQ(KeysOf(OfferedByZsh("ka-tts -")), HelpNames("", true));
  for (const std::string& command : HelpCommands()) {
    EXPECT_EQ(KeysOf(OfferedByZsh("ka-tts " + command + " --")), HelpNames(command, false))
        << command;
  }
}

TEST(ZshCompletion, OffersTheValuesOfAnOption) {
  EXPECT_THAT(KeysOf(OfferedByZsh("ka-tts check --lang ")), ElementsAre("de", "en"));
  EXPECT_THAT(KeysOf(OfferedByZsh("ka-tts check --color=")),
              ElementsAre("always", "auto", "never"));
  EXPECT_EQ(KeysOf(OfferedByZsh("ka-tts check --explain ")), RuleIds());
  EXPECT_EQ(KeysOf(OfferedByZsh("ka-tts doctor --explain ")), FindingIds());
}

TEST(ZshCompletion, DescribesInTheLanguageOfTheShell) {
  for (const std::string& command : HelpCommands()) {
    for (const auto& [language, locale] : {std::pair{"de", "de_DE.UTF-8"}, {"en", "C.UTF-8"}}) {
      const auto offered = OfferedByZsh("ka-tts " + command + " --", locale);
      for (const HelpOption& option : HelpOptions(HelpOf(command, language))) {
        EXPECT_TRUE(option.Text.ends_with(" " + offered.at(option.Names.back())))
            << option.Text << "\n"
            << offered.at(option.Names.back());
      }
    }
  }
}

TEST(ZshCompletion, OffersFilesAndDirectories) {
  const SomeFiles files;
  EXPECT_THAT(KeysOf(OfferedByZsh("ka-tts preview bl", "C.UTF-8", files.Path())),
              ElementsAre(R"(block\ one.xml)", "blocks"));
  EXPECT_THAT(KeysOf(OfferedByZsh("ka-tts check --station ", "C.UTF-8", files.Path())),
              ElementsAre("blocks"));
}

}  // namespace

}  // namespace toolstest
