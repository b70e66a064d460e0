// The manual pages: how they are rendered, and that they tell what the programs do.

#include <gmock/gmock.h>

#include <algorithm>
#include <filesystem>
#include <nlohmann/json.hpp>
#include <regex>
#include <set>

#include "demo_station.h"
#include "help_text.h"
#include "manual.h"
#include "program.h"
#include "shell_output.h"

namespace toolstest {

namespace {

namespace fs = std::filesystem;
using ::testing::Contains;
using ::testing::ElementsAreArray;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

std::set<std::string> AllMatches(const std::string& text, const std::string& pattern) {
  const std::regex regex(pattern);
  std::set<std::string> found;
  for (auto match = std::sregex_iterator(text.begin(), text.end(), regex);
       match != std::sregex_iterator(); ++match)
    found.insert((*match)[1]);
  return found;
}

std::string SourceOf(const std::string& directory) {
  std::string source;
  for (const fs::directory_entry& entry : fs::directory_iterator(Project() / directory)) {
    if (entry.path().extension() == ".cpp") source += support::ReadFile(entry.path().string());
  }
  return source;
}

/// The commands that a page tells of: what its template asks for, else the one it is named after.
std::vector<std::string> CommandsOf(const ManualPage& page) {
  const std::string source =
      support::ReadFile((Project() / "man" / page.Language / (page.Name + ".in")).string());
  const auto asked = AllMatches(source, "(?:^|\n)@OPTIONS ([a-z]+)@(?=\n)");
  if (!asked.empty()) return {asked.begin(), asked.end()};
  if (source.find("\n@OPTIONS@\n") == std::string::npos) return {};
  if (page.Name == "ka-tts.1") return {""};
  return {page.Name.substr(7, page.Name.size() - 9)};
}

/// The first block of a page's examples.
std::string FirstExample(const std::string& language, const std::string& name) {
  const std::vector<ManualExample> examples = ExamplesOf(ReadManual(language, name));
  std::string text;
  for (const std::string& line : examples.at(0).Lines)
    text += line + "\n";
  return text;
}

std::string HeadAndDescription(const std::string& head, const std::string& description) {
  return head + ": " + description;
}

// ---- How they are rendered ----

TEST(Manual, EveryPageIsRenderedWithoutWarning) {
  for (const ManualPage& page : Manuals()) {
    EXPECT_THAT(ShellOutput("LC_ALL=C.UTF-8 MANWIDTH=80 man --warnings=w -l " + Quoted(page.File) +
                            " >/dev/null"),
                IsEmpty())
        << page.File;
    EXPECT_THAT(ShellOutput("groff -man -Tutf8 -Kutf8 -ww -z " + Quoted(page.File)), IsEmpty())
        << page.File;
  }
}

TEST(Manual, EveryPageIsFoundByItsName) {
  for (const ManualPage& page : Manuals()) {
    const auto found = ShellOutput("LC_ALL=C.UTF-8 lexgrog " + Quoted(page.File));
    ASSERT_EQ(found.size(), 1U) << page.File;
    EXPECT_THAT(found[0], HasSubstr("\"" + page.Name.substr(0, page.Name.size() - 2) + " - "));
  }
}

TEST(Manual, NothingIsLeftOfTheTemplate) {
  for (const ManualPage& page : Manuals()) {
    EXPECT_THAT(AllMatches(page.Source, "(@(?:OPTIONS|COMMANDS|VERSION)[^@]*@)"), IsEmpty())
        << page.File;
  }
}

TEST(Manual, BothLanguagesHaveTheSamePages) {
  EXPECT_THAT(ManualNames("de"), ElementsAreArray(ManualNames("en")));
  EXPECT_GE(ManualNames("en").size(), 14U);
}

TEST(Manual, BothLanguagesTellTheSameThings) {
  for (const std::string& name : ManualNames("en")) {
    const std::string german = ReadManual("de", name).Source;
    const std::string english = ReadManual("en", name).Source;
    for (const char* macro : {"\n.SH ", "\n.SS ", "\n.TP\n", "\n.EX\n"}) {
      const auto count = [&macro](const std::string& source) {
        return ShellOutput("printf %s " + Quoted(source) + " | grep -c '^" +
                           std::string(macro).substr(1, 3) + "'");
      };
      EXPECT_EQ(count(german), count(english)) << name << macro;
    }
  }
}

TEST(Manual, EveryPageHasExamplesAndReferences) {
  for (const ManualPage& page : Manuals()) {
    EXPECT_FALSE(SectionOf(page, "EXAMPLES", "BEISPIELE").empty()) << page.File;
    EXPECT_FALSE(SectionOf(page, "SEE ALSO", "SIEHE AUCH").empty()) << page.File;
    EXPECT_FALSE(SectionOf(page, "FILES", "DATEIEN").empty()) << page.File;
    if (page.Section() == '5') continue;
    EXPECT_FALSE(SectionOf(page, "EXIT STATUS", "EXIT-STATUS").empty()) << page.File;
  }
}

TEST(Manual, ReferencesLeadToPagesThatThereAre) {
  for (const ManualPage& page : Manuals()) {
    const std::vector<std::string> names = ManualNames(page.Language);
    const std::regex reference("\\.BR (ka[^ ]+) \\(([158])\\).*");
    std::smatch match;
    for (const std::string& line : ShellOutput("cat " + Quoted(page.File))) {
      if (!std::regex_match(line, match, reference)) continue;
      EXPECT_THAT(names, Contains(Printed(match[1]) + "." + match[2].str())) << page.File;
    }
  }
}

// ---- How they are made ----

/// What becomes of a template; the message where it is refused.
std::string Made(const std::string& name, const std::string& source) {
  const support::TempDir dir;
  const std::string page = dir.Sub("made/" + name);
  const auto printed =
      ShellOutput(Quoted(KA_PAGES_PATH) + " man en " + Quoted(dir.Write(name + ".in", source)) +
                  " " + Quoted(page) + " || echo refused");
  return printed.empty() ? support::ReadFile(page) : printed.front();
}

TEST(ManualTemplate, OptionsAreThoseOfTheCommandThatThePageIsNamedAfter) {
  EXPECT_THAT(Made("ka-tts-test.1", ".SH OPTIONS\n@OPTIONS@\n.SH FILES\n"),
              testing::AllOf(testing::StartsWith(".SH OPTIONS\n.TP\n\\fIDIR\\fR\n"),
                             HasSubstr("\n.TP\n\\fB\\-\\-junit\\fR \\fIFILE\\fR\n"),
                             testing::EndsWith("\n.SH FILES\n")));
  EXPECT_EQ(Made("ka-tts-other.1", "@OPTIONS test@\n"), Made("ka-tts-test.1", "@OPTIONS@\n"));
}

TEST(ManualTemplate, PlaceholdersForWhatThereIsNotAreRefused) {
  EXPECT_THAT(Made("ka-tts-test.1", "@OPTIONS nonsense@\n"),
              HasSubstr("there is no command nonsense"));
  EXPECT_THAT(Made("ka-tts-nonsense.1", "@OPTIONS@\n"), HasSubstr("there is no command nonsense"));
  EXPECT_THAT(Made("nonsense.1", "@OPTIONS@\n"), HasSubstr("no command is named like this page"));
  EXPECT_THAT(Made("ka-tts-test.1", "@NONSENSE@\n"), HasSubstr("unknown placeholder @NONSENSE@"));
}

// ---- Options ----

TEST(Manual, PagesHaveTheOptionsOfTheHelp) {
  for (const ManualPage& page : Manuals()) {
    std::set<std::string> helped;
    for (const std::string& command : CommandsOf(page)) {
      for (const HelpOption& option : HelpOptions(HelpOf(command, page.Language)))
        helped.insert(option.Head());
    }
    if (helped.empty()) continue;
    std::set<std::string> told;
    for (const ManualOption& option : OptionsOf(page))
      told.insert(option.Head);
    EXPECT_EQ(told, helped) << page.File;
  }
}

TEST(Manual, OptionsAreDescribedAsInTheHelp) {
  for (const ManualPage& page : Manuals()) {
    std::vector<HelpOption> helped;
    for (const std::string& command : CommandsOf(page)) {
      const auto more = HelpOptions(HelpOf(command, page.Language));
      helped.insert(helped.end(), more.begin(), more.end());
    }
    if (helped.empty()) continue;
    for (const ManualOption& option : OptionsOf(page)) {
      EXPECT_TRUE(std::any_of(helped.begin(), helped.end(),
                              [&option](const HelpOption& line) {
                                return line.Head() == option.Head &&
                                       line.Text.ends_with(" " + option.Description);
                              }))
          << page.File << ": " << HeadAndDescription(option.Head, option.Description);
    }
  }
}

TEST(Manual, EveryCommandHasAPage) {
  std::set<std::string> told;
  for (const std::string& name : ManualNames("en")) {
    for (const std::string& command : CommandsOf(ReadManual("en", name)))
      told.insert(command);
  }
  const std::vector<std::string> commands = HelpCommands();
  EXPECT_GE(commands.size(), 5U);
  for (const std::string& command : commands)
    EXPECT_THAT(told, Contains(command));
}

TEST(Manual, MainPageNamesEveryCommand) {
  for (const char* language : {"de", "en"}) {
    const std::string source = ReadManual(language, "ka-tts.1").Source;
    for (const std::string& command : HelpCommands())
      EXPECT_THAT(source, HasSubstr("\n.TP\n\\fB" + command + "\\fR\n")) << language;
  }
}

TEST(Help, IsInOneLanguage) {
  for (std::string command : HelpCommands()) {
    const std::string german = HelpOf(command, "de");
    EXPECT_THAT(german, HasSubstr("\nOptionen:\n"));
    EXPECT_THAT(german, HasSubstr("Aufruf: ka-tts " + command + " [OPTIONEN]"));
    for (const char* word : {"Options", "Usage", "REQUIRED", "Needs", "Excludes", "Positionals"}) {
      EXPECT_EQ(german.find(word), std::string::npos) << command << ": " << word;
    }
    EXPECT_THAT(HelpOf(command, "en"), HasSubstr("Usage: ka-tts " + command + " [OPTIONS]"));
  }
  EXPECT_THAT(HelpOf("", "de"), HasSubstr("Aufruf: ka-tts [OPTIONEN] BEFEHL\n"));
  EXPECT_THAT(HelpOf("", "de"), HasSubstr("\nBefehle:\n"));
  EXPECT_THAT(HelpOf("", "en"), HasSubstr("\nCommands:\n"));
}

TEST(Manual, EngineHasTheOptionsAndTagsOfItsHelp) {
  std::string help;
  for (const std::string& line : ShellOutput(Quoted(KA_ENGINE_PATH) + " --help"))
    help += line + "\n";
  const std::set<std::string> options =
      AllMatches(help.substr(help.find("Options:")), "(?:^|[ \n])(--[a-z-]+(?: [A-Z]+)?)");
  EXPECT_GE(options.size(), 5U);
  for (const char* language : {"de", "en"}) {
    const ManualPage page = ReadManual(language, "ka-espeak-ng.1");
    std::set<std::string> told;
    for (const ManualOption& option : OptionsOf(page))
      told.insert(option.Head);
    EXPECT_EQ(told, options) << language;
    EXPECT_EQ(AllMatches(page.Source, "\n\\\\fB\\\\e([a-z]+)\\("),
              AllMatches(help, "\\\\([a-z]+)\\("))
        << language;
  }
}

// ---- Formats ----

TEST(ConfigurationPage, HasTheKeysThatTheServerReads) {
  const std::string source = SourceOf("src");
  std::set<std::string> keys = AllMatches(source, "GetValue(?:String|Int)\\(\"([A-Za-z]+)\"");
  keys.merge(AllMatches(source, "OpenListener\\([A-Za-z]+, \"([a-z]+)\""));
  EXPECT_GE(keys.size(), 16U);
  for (const char* language : {"de", "en"}) {
    const ManualPage page = ReadManual(language, "kaTtsServer.kacfg.5");
    std::string section;
    for (const std::string& line : SectionOf(page, "KEYS", "SCHLÜSSEL"))
      section += line + "\n";
    EXPECT_EQ(AllMatches(section, "\\.TP\n\\.BI? ([A-Za-z]+)"), keys) << language;
  }
}

TEST(DocumentPage, ItsExampleIsADocumentWithoutErrors) {
  for (const char* language : {"de", "en"}) {
    const DemoStation station;
    const std::string document = FirstExample(language, "ka-tts-document.5");
    station.Write("announcements/station.xml", document);
    const Ended checked = RunTool({"check", "--station", station.Dir(), "--json"});
    EXPECT_EQ(nlohmann::json::parse(checked.Out)["errors"], 0) << checked.Out;
    const std::string block =
        station.Write("block.xml", "<rbl><row dest=\"Köln Hbf\" minutes=\"5\"/></rbl>");
    const Ended shown = RunTool({"preview", "--station", station.Dir(), block});
    EXPECT_EQ(shown.Status, 0);
    EXPECT_THAT(shown.Out, HasSubstr("Zug nach Köln Hauptbahnhof. Heute 5 Minuten später."));
  }
}

TEST(DocumentPage, NamesEveryElementAndAttributeOfTheSchema) {
  const std::string schema =
      support::ReadFile((Project() / "schema" / "announcements.xsd").string());
  for (const char* language : {"de", "en"}) {
    const std::string source =
        Printed(std::regex_replace(ReadManual(language, "ka-tts-document.5").Source,
                                   std::regex("\\\\\n|\\\\\\[[^\\]]*\\]"), " "));
    for (const std::string& element : AllMatches(schema, "<xs:element name=\"([A-Za-z]+)\""))
      EXPECT_THAT(source, HasSubstr(element)) << language;
    for (const std::string& attribute : AllMatches(schema, "<xs:attribute name=\"([A-Za-z]+)\""))
      EXPECT_THAT(source, HasSubstr(" " + attribute + "=\"")) << language;
  }
}

TEST(BlockPage, ItsExampleIsABlockOfTheDemoStation) {
  for (const char* language : {"de", "en"}) {
    const DemoStation station;
    const std::string text = FirstExample(language, "ka-tts-block.5");
    const Ended shown =
        RunTool({"preview", "--station", station.Dir(), station.Write("block.xml", text)});
    EXPECT_EQ(shown.Status, 0);
    EXPECT_THAT(shown.Out, HasSubstr("Information zu I C E 618 nach Hamburg-Altona"));
    EXPECT_THAT(shown.Out, HasSubstr("S 1 nach Minden in Westfalen"));
  }
}

TEST(MessagesPage, ItsExampleIsTheCatalogue) {
  for (const char* language : {"de", "en"}) {
    const std::string rows = FirstExample(language, "ka-tts-messages.5");
    EXPECT_EQ(rows, support::ReadFile((Project() / "messages" / "stdDE.csv").string())) << language;
  }
}

TEST(LexiconPage, ItsExampleDoesWhatThePageTells) {
  for (const char* language : {"de", "en"}) {
    const DemoStation station;
    const std::string rows = FirstExample(language, "ka-tts-lexicon.5");
    station.Write("lexidata/de/stations", rows);
    const Ended shown = RunTool({"words", "--station", station.Dir(), "--in", "de", "--lexicon",
                                 "stations", "--try", "Köln Hbf, Wiener Hbf, Wien"});
    EXPECT_THAT(shown.Out, HasSubstr("Köln Hauptbahnhof, Wiener Hauptbahnhof, Wien Stadt"));
  }
}

}  // namespace

}  // namespace toolstest
