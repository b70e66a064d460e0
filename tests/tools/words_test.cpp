#include <gmock/gmock.h>

#include <algorithm>
#include <filesystem>
#include <nlohmann/json.hpp>
#include <sstream>
#include <string>
#include <vector>

#include "demo_station.h"
#include "program.h"
#include "support/temp_dir.h"

namespace toolstest {

namespace {

using nlohmann::json;
using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Not;
using ::testing::StartsWith;

constexpr const char* kGermanStations = "lexidata/de/stations";

int LineOf(const std::string& content, const std::string& row) {
  const std::size_t at = ("\n" + content).find("\n" + row + "\n");
  if (at == std::string::npos) return 0;
  return 1 + static_cast<int>(
                 std::count(content.begin(), content.begin() + static_cast<long>(at), '\n'));
}

/// The demo station, with an engine that records how it is called.
class WordsCommand : public ::testing::Test {
 protected:
  Ended Words(std::vector<std::string> options) const {
    options.insert(options.begin(), {"words", "--station", demo.Dir()});
    return RunTool(options);
  }
  json WordsAsJson(std::vector<std::string> options) const {
    options.emplace_back("--json");
    return json::parse(Words(std::move(options)).Out);
  }
  std::string Block(const std::string& attributes) const {
    return demo.Write("block.xml", "<rbl>\n  <row event=\"D\" " + attributes + "/>\n</rbl>\n");
  }
  std::string Content(const std::string& name) const { return support::ReadFile(demo.Sub(name)); }
  void SetEngine(const std::string& script) const {
    std::filesystem::permissions(
        demo.Write("engines/espeak-ng/ka-espeak-ng", "#!/bin/sh\n" + script + "\n"),
        std::filesystem::perms(0755));
  }
  static json Find(const json& list, const std::string& language, const std::string& text) {
    for (const json& word : list.at("words")) {
      if (word.at("language") == language && word.at("text") == text) return word;
    }
    return nullptr;
  }

  DemoStation demo;
};

// ---- The list ----

TEST_F(WordsCommand, GreatestRiskComesFirst) {
  const json list = WordsAsJson({Block(R"(category="ICE" number="599" dest="Łódź" time="10:05")")});
  int before = 1000;
  for (const json& word : list.at("words")) {
    EXPECT_LE(word.at("risk"), before);
    before = word.at("risk");
  }
  EXPECT_EQ(list.at("count"), list.at("words").size());
  EXPECT_GT(list.at("risky"), 0);
  EXPECT_LT(list.at("risky"), list.at("count"));
}

TEST_F(WordsCommand, CoveredWordHasItsEntryAndNoRisk) {
  const json word = Find(WordsAsJson({Block(R"(dest="Bonn Hbf")")}), "de", "Hbf");
  ASSERT_FALSE(word.is_null());
  EXPECT_EQ(word.at("said"), "Hauptbahnhof");
  EXPECT_EQ(word.at("phonemes"), "h'aUptb,A:nho:f");
  EXPECT_EQ(word.at("risk"), 0);
  EXPECT_EQ(word.at("lexicon"), "stations");
  EXPECT_EQ(word.at("file"), "block.xml");
  EXPECT_EQ(word.at("line"), 2);
  ASSERT_EQ(word.at("entries").size(), 1U);
  EXPECT_EQ(word.at("entries")[0].at("file"), kGermanStations);
  EXPECT_EQ(word.at("entries")[0].at("line"),
            LineOf(Content(kGermanStations), "Hbf=\"Hauptbahnhof\""));
}

TEST_F(WordsCommand, UncoveredWordHasItsReasons) {
  const json word = Find(WordsAsJson({Block(R"(dest="Xyz/Abc")")}), "de", "Xyz/Abc");
  ASSERT_FALSE(word.is_null());
  EXPECT_EQ(word.at("reasons"), json::array({"slash"}));
  EXPECT_EQ(word.at("risk"), 30);
  EXPECT_THAT(word.at("entries"), IsEmpty());
}

TEST_F(WordsCommand, WordsThatOneEntryReplacesTogetherAreOne) {
  const json list = WordsAsJson({Block(R"(dest="Stockholm C")")});
  EXPECT_EQ(Find(list, "de", "Stockholm C").at("said"), "Stockholm Zentral");
  EXPECT_TRUE(Find(list, "de", "C").is_null());
}

TEST_F(WordsCommand, WordsOfTheDocumentHaveItsLines) {
  const json list = WordsAsJson({Block(R"(dest="Bonn")")});
  const json prefix = Find(list, "de", "ursprünglich");
  ASSERT_FALSE(prefix.is_null());
  EXPECT_EQ(prefix.at("file"), "announcements/station.xml");
  std::istringstream document(Content("announcements/station.xml"));
  std::string line;
  for (int i = 0; i < prefix.at("line").get<int>(); ++i)
    std::getline(document, line);
  EXPECT_THAT(line, HasSubstr("ursprünglich"));
  EXPECT_FALSE(Find(list, "de", "Entschuldigung.").is_null()) << "of a prepared phrase";
  EXPECT_TRUE(Find(list, "de", R"(\rate(155))").is_null()) << "tags are not said";
}

TEST_F(WordsCommand, EachLanguageHasItsVoice) {
  const json list = WordsAsJson({Block(R"(dest="Bremen")")});
  EXPECT_NE(Find(list, "de", "Bremen").at("phonemes"), Find(list, "en", "Bremen").at("phonemes"));
}

TEST_F(WordsCommand, RowsThatTheServerIgnoresAreNotSaid) {
  std::string block = "<rbl>";
  for (int row = 0; row < 7; ++row)
    block += "<row dest=\"Xy" + std::to_string(row) + "\"/>";
  const json list = WordsAsJson({demo.Write("block.xml", block + "</rbl>")});
  EXPECT_FALSE(Find(list, "de", "Xy5").is_null());
  EXPECT_TRUE(Find(list, "de", "Xy6").is_null());
}

TEST_F(WordsCommand, RiskLeavesTheRestOutAndEndsWithOne) {
  const Ended risky = Words({"--risk", "30", Block(R"(dest="Xyz/Abc")")});
  EXPECT_EQ(risky.Status, 1);
  EXPECT_THAT(risky.Out, StartsWith("  30  de  Xyz/Abc  ["));
  EXPECT_THAT(risky.Out, EndsWith("\n2 words, 2 of them with a risk\n"));
  const Ended fine = Words({"--risk", "30", Block(R"(dest="Bonn")")});
  EXPECT_EQ(fine.Status, 0) << fine.Out;
  EXPECT_EQ(fine.Out, "0 words, 0 of them with a risk\n");
}

TEST_F(WordsCommand, TextNamesReasonsEntriesAndPlaces) {
  const Ended ended = Words({Block(R"(dest="Xyz/Abc Hbf")")});
  EXPECT_EQ(ended.Status, 0);
  EXPECT_EQ(ended.Err, "");
  EXPECT_THAT(ended.Out, HasSubstr("\n          slash 30, no entry (stations), block.xml:2\n"));
  EXPECT_THAT(ended.Out,
              HasSubstr("\n          said \"Hauptbahnhof\", entry lexidata/de/stations:"));
  EXPECT_THAT(ended.Out, Not(HasSubstr("\x1b")));
}

TEST_F(WordsCommand, GermanAndColourOnRequest) {
  const std::string block = Block(R"(dest="Xyz/Abc")");
  EXPECT_THAT(Words({"--lang", "de", block}).Out, HasSubstr("Schrägstrich 30, kein Eintrag"));
  EXPECT_THAT(Words({"--color", "always", block}).Out, HasSubstr("\x1b["));
}

TEST_F(WordsCommand, DemoStationsOwnBlocksLeaveLittleInDoubt) {
  std::vector<std::string> options = {"--risk", "41"};
  for (const auto& entry : std::filesystem::directory_iterator(demo.Sub("announcements/blocks"))) {
    if (entry.path().extension() == ".xml") options.push_back(entry.path().string());
  }
  ASSERT_GT(options.size(), 10U);
  const Ended ended = Words(options);
  EXPECT_EQ(ended.Status, 0) << ended.Out;
}

TEST_F(WordsCommand, DirectoryStandsForItsBlocks) {
  const Ended all = Words({demo.Sub("announcements/blocks")});
  EXPECT_EQ(all.Status, 0);
  EXPECT_THAT(all.Out, HasSubstr("announcements/blocks/special-characters.xml:"));
  EXPECT_THAT(all.Out, HasSubstr("announcements/blocks/via-stations.xml:"));
  const Ended none = Words({demo.Sub("lexidata")});
  EXPECT_EQ(none.Status, 2);
  EXPECT_THAT(none.Err, HasSubstr("holds no blocks"));
}

TEST_F(WordsCommand, NothingInTheStationChanges) {
  const std::string before = Content(kGermanStations);
  Words({Block(R"(dest="Bonn Hbf")")});
  Words({"--try", "Bonn Hbf", "--lexicon", "stations"});
  EXPECT_EQ(Content(kGermanStations), before);
  EXPECT_TRUE(std::filesystem::is_empty(demo.Sub("run/store")));
}

TEST_F(WordsCommand, WhatCannotRunEndsWithTwo) {
  EXPECT_EQ(Words({}).Status, 2);
  EXPECT_EQ(Words({demo.Sub("none.xml")}).Status, 2);
  EXPECT_EQ(Words({"--risk", "0", Block("")}).Status, 2);
  EXPECT_EQ(Words({"--play"}).Status, 2);
  EXPECT_EQ(Words({"--unknown"}).Status, 2);
  const Ended noBlock = Words({demo.Write("block.xml", "no XML")});
  EXPECT_EQ(noBlock.Status, 2);
  EXPECT_THAT(noBlock.Err, HasSubstr("block.xml: is no data block"));
  EXPECT_EQ(RunTool({"words", "--station", demo.Sub("none"), "--try", "x"}).Status, 2);
}

TEST_F(WordsCommand, VoiceThatTheEngineDoesNotHaveCannotRun) {
  demo.Replace("announcements/station.xml", R"(generalprefix="\voice(de) )",
               R"(generalprefix="\voice(nobody) )");
  const Ended ended = Words({"--try", "x"});
  EXPECT_EQ(ended.Status, 2);
  EXPECT_THAT(ended.Err, HasSubstr("no voice \"nobody\""));
}

// ---- One text ----

TEST_F(WordsCommand, TriedTextIsSaidAsItStands) {
  const Ended ended = Words({"--try", "zehn Uhr fünf"});
  EXPECT_EQ(ended.Status, 0);
  EXPECT_EQ(ended.Out, "zehn Uhr fünf  [ts'e:n _!'u:r f'ynf]\n");
}

TEST_F(WordsCommand, TriedTextGoesThroughTheLexiconAskedFor) {
  const json tried = WordsAsJson({"--try", "München Hbf", "--in", "en", "--lexicon", "stations"});
  EXPECT_EQ(tried.at("text"), "München Hbf");
  EXPECT_EQ(tried.at("said"), "Munich main station");
  EXPECT_EQ(tried.at("phonemes"), "mj'u:nIk m'eIn st'eIS@n");
  ASSERT_EQ(tried.at("entries").size(), 2U);
  EXPECT_EQ(tried.at("entries")[0].at("word"), "München");
  EXPECT_THAT(Words({"--try", "Bonn Hbf", "--lexicon", "stations"}).Out,
              HasSubstr("\"Hbf\" becomes \"Hauptbahnhof\"\n"));
}

TEST_F(WordsCommand, TriedTextMayHoldTags) {
  EXPECT_EQ(WordsAsJson({"--try", R"(\voice(en-gb) die)"}).at("phonemes"),
            WordsAsJson({"--try", "die", "--in", "en"}).at("phonemes"));
  EXPECT_EQ(WordsAsJson({"--try", R"(\pause(500))"}).at("phonemes"), "");
}

TEST_F(WordsCommand, LexiconThatIsUsedNeedNotBeListed) {
  std::string document = Content("announcements/station.xml");
  const std::string listed = "<Lexicon name=\"stations\"/>";
  for (auto at = document.find(listed); at != std::string::npos; at = document.find(listed))
    document.erase(at, listed.size());
  demo.Write("announcements/station.xml", document);
  EXPECT_EQ(WordsAsJson({"--try", "Bonn Hbf", "--lexicon", "stations"}).at("said"),
            "Bonn Hauptbahnhof");
}

TEST_F(WordsCommand, UnknownLanguageOrLexiconCannotBeTried) {
  const Ended language = Words({"--try", "x", "--in", "fr"});
  EXPECT_EQ(language.Status, 2);
  EXPECT_THAT(language.Err, HasSubstr("There is no language \"fr\"; there is de, en."));
  const Ended lexicon = Words({"--try", "x", "--lexicon", "none"});
  EXPECT_EQ(lexicon.Status, 2);
  EXPECT_THAT(lexicon.Err, HasSubstr("There is no lexicon \"none\""));
}

TEST_F(WordsCommand, AudioIsMadeByTheStationsEngine) {
  // ka-espeak-ng --voice de --discard-on-failure -- TEXTFILE WAVFILE
  SetEngine(R"(cp "$5" "$6"; pwd >"$6.pwd")");
  const std::string wav = demo.Sub("it's $HOME.wav");
  EXPECT_EQ(Words({"--try", "$HOME Hbf", "--lexicon", "stations", "--audio", wav}).Status, 0);
  EXPECT_EQ(support::ReadFile(wav), R"(\voice(de) \rate(155) $HOME Hauptbahnhof)");
  EXPECT_EQ(support::ReadFile(wav + ".pwd"),
            std::filesystem::canonical(demo.Sub("engines/espeak-ng")).string() + "\n");
}

TEST_F(WordsCommand, PlayedTextGoesToTheStationsEngine) {
  SetEngine(R"(printf '%s|' "$@" >played)");
  EXPECT_EQ(Words({"--try", "it's `x` $HOME", "--play"}).Status, 0);
  EXPECT_EQ(Content("engines/espeak-ng/played"),
            R"(--voice|de|--|\voice(de) \rate(155) it's `x` $HOME|)");
}

TEST_F(WordsCommand, NothingIsStartedUnlessAskedFor) {
  SetEngine("touch started");
  EXPECT_EQ(Words({"--try", "x"}).Status, 0);
  EXPECT_FALSE(std::filesystem::exists(demo.Sub("engines/espeak-ng/started")));
}

TEST_F(WordsCommand, EngineThatFailsCannotRun) {
  SetEngine("exit 1");
  const Ended ended = Words({"--try", "x", "--play"});
  EXPECT_EQ(ended.Status, 2);
  EXPECT_THAT(ended.Err, HasSubstr("The station's engine has failed."));
}

// ---- A new entry ----

TEST_F(WordsCommand, NewEntryIsWrittenAtTheEndAndUsedAtOnce) {
  const std::string before = Content(kGermanStations);
  const Ended ended = Words({"--add", "de", "Xyz", "Ixypsilon", "--lexicon", "stations"});
  EXPECT_EQ(ended.Status, 0) << ended.Err;
  EXPECT_EQ(Content(kGermanStations), before + "Xyz=\"Ixypsilon\"\n");
  EXPECT_EQ(ended.Out, "lexidata/de/stations:" +
                           std::to_string(LineOf(Content(kGermanStations), "Xyz=\"Ixypsilon\"")) +
                           ": written\n");
  EXPECT_EQ(WordsAsJson({"--try", "Xyz", "--lexicon", "stations"}).at("said"), "Ixypsilon");
}

TEST_F(WordsCommand, EntryWhoseTextAnEarlierOneWouldTakeStandsBeforeIt) {
  const int line = LineOf(Content(kGermanStations), "Hbf=\"Hauptbahnhof\"");
  const Ended ended = Words({"--add", "de", "Bonn Hbf", "Bonn", "--lexicon", "stations"});
  EXPECT_EQ(ended.Status, 0);
  EXPECT_EQ(ended.Out, "lexidata/de/stations:" + std::to_string(line) +
                           ": written\n  The entry stands before \"Hbf\" (lexidata/de/stations:" +
                           std::to_string(line + 1) + "), which would have taken its text.\n");
  EXPECT_EQ(WordsAsJson({"--try", "Bonn Hbf", "--lexicon", "stations"}).at("said"), "Bonn");
}

TEST_F(WordsCommand, EntriesThatLoseTheirTextAreNamed) {
  demo.Write(kGermanStations, "n=\"1\"\nBonn Nord=\"2\"\n");
  EXPECT_THAT(Words({"--add", "de", "Bonn", "B", "--lexicon", "stations"}).Out,
              HasSubstr("Mind: it now takes the text of \"Bonn Nord\" (lexidata/de/stations:3)"));
}

TEST_F(WordsCommand, NewEntryAsJson) {
  demo.Write(kGermanStations, "n=\"1\"\nBonn Nord=\"2\"\n");
  const json added = WordsAsJson({"--add", "de", "Bonn", "B", "--lexicon", "stations"});
  EXPECT_EQ(added.at("file"), kGermanStations);
  EXPECT_EQ(added.at("line"), 1);
  EXPECT_EQ(added.at("before").at("word"), "n");
  EXPECT_EQ(added.at("before").at("line"), 2);
  EXPECT_EQ(added.at("loses")[0].at("word"), "Bonn Nord");
}

TEST_F(WordsCommand, WordThatIsThereAlreadyChangesNothingAndEndsWithOne) {
  const std::string before = Content(kGermanStations);
  const Ended ended = Words({"--add", "de", "Hbf", "x", "--lexicon", "stations"});
  EXPECT_EQ(ended.Status, 1);
  EXPECT_THAT(ended.Err, HasSubstr("has \"Hbf\" already, as \"Hauptbahnhof\""));
  EXPECT_EQ(Content(kGermanStations), before);
}

TEST_F(WordsCommand, LexiconIsThatOfTheBlocksValues) {
  const std::string block = Block(R"(dest="Xyz")");
  EXPECT_EQ(Words({"--add", "en", "Xyz", "Ex", block}).Status, 0);
  EXPECT_THAT(Content("lexidata/en/stations"), EndsWith("Xyz=\"Ex\"\n"));
}

TEST_F(WordsCommand, LexiconThatIsNotClearIsAskedFor) {
  const Ended unknown = Words({"--add", "de", "Xyz", "x"});
  EXPECT_EQ(unknown.Status, 2);
  EXPECT_THAT(unknown.Err, HasSubstr("Which lexicon? --lexicon names one of categories, "));
  const Ended two = Words({"--add", "de", "Xyz", "x", Block(R"(dest="Xyz" line="Xyz")")});
  EXPECT_EQ(two.Status, 2);
  EXPECT_THAT(two.Err, HasSubstr("--lexicon names one of lines, stations."));
}

TEST_F(WordsCommand, WordMayLookLikeAnOptionAndItsReplacementBeEmpty) {
  EXPECT_EQ(Words({"--lexicon", "stations", "--add", "de", "-Nord", ""}).Status, 0);
  EXPECT_THAT(Content(kGermanStations), HasSubstr("\n-Nord=\"\"\n"));
}

TEST_F(WordsCommand, EntriesThatTheFormatCannotHoldAreRefused) {
  const std::string before = Content(kGermanStations);
  for (const std::vector<std::string>& entry : std::vector<std::vector<std::string>>{
           {"a\"b", "x"}, {"x", "a\"b"}, {"x", "a\nb"}, {"a=b", "x"}, {" a", "x"}, {"#a", "x"}}) {
    const Ended ended = Words({"--lexicon", "stations", "--add", "de", entry[0], entry[1]});
    EXPECT_EQ(ended.Status, 2) << entry[0] << entry[1];
    EXPECT_NE(ended.Err, "");
  }
  EXPECT_EQ(Words({"--add", "fr", "x", "y", "--lexicon", "stations"}).Status, 2);
  EXPECT_EQ(Words({"--add", "de", "x", "y", "--lexicon", "../en/stations"}).Status, 2);
  EXPECT_EQ(Content(kGermanStations), before);
}

}  // namespace

}  // namespace toolstest
