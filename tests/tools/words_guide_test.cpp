// Every command of docs/words.md, run as it is printed there, gives what is printed there.

#include <gmock/gmock.h>

#include <cstdio>
#include <filesystem>
#include <memory>
#include <regex>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "demo_station.h"
#include "program.h"
#include "support/temp_dir.h"
#include "words_corpus.h"

namespace toolstest {

namespace {

using ::testing::HasSubstr;

/// A command and what it prints.
using Shown = std::pair<std::string, std::string>;

std::string Guide() {
  return support::ReadFile((Project() / "docs" / "words.md").string());
}

std::vector<Shown> ShownCommands() {
  std::vector<Shown> commands;
  std::istringstream lines(Guide());
  bool inside = false;
  for (std::string line; std::getline(lines, line);) {
    if (line.starts_with("```")) {
      inside = line == "```console";
    } else if (inside && line.starts_with("$ ")) {
      commands.emplace_back(line.substr(2), "");
    } else if (inside) {
      commands.back().second += line + "\n";
    }
  }
  return commands;
}

/// Lexica grow: the numbers of their lines are not compared.
std::string WithoutLexiconLines(const std::string& text) {
  static const std::regex kLine("(lexidata/[a-z]+/[a-z]+):[0-9]+");
  return std::regex_replace(text, kLine, "$1:N");
}

/// What a shell prints that has the station as its directory and the tool in its path.
std::string Printed(const std::string& command, const std::string& directory) {
  const std::string tools = std::filesystem::path(ToolPath()).parent_path().string();
  const std::string line = "cd '" + directory + "' && PATH='" + tools +
                           "':\"$PATH\" LC_ALL=C NO_COLOR=1 && export PATH LC_ALL && { " + command +
                           "; } 2>&1";
  const std::unique_ptr<FILE, int (*)(FILE*)> pipe(::popen(line.c_str(), "r"), ::pclose);
  std::string printed;
  for (int c = std::fgetc(pipe.get()); c != EOF; c = std::fgetc(pipe.get()))
    printed += static_cast<char>(c);
  return printed;
}

TEST(WordsGuide, EveryCommandPrintsWhatIsShown) {
  const DemoStation demo;
  const std::vector<Shown> commands = ShownCommands();
  ASSERT_GE(commands.size(), 6U);
  for (const auto& [command, output] : commands)
    EXPECT_EQ(WithoutLexiconLines(Printed(command, demo.Dir())), WithoutLexiconLines(output))
        << command;
}

TEST(WordsGuide, NamesTheCorpusFigures) {
  for (const std::string language : {"de", "en"}) {
    std::size_t wrong = 0;
    const std::vector<CorpusPhrase> phrases = Corpus(language);
    for (const CorpusPhrase& phrase : phrases)
      wrong += phrase.WasRight() ? 0U : 1U;
    EXPECT_THAT(
        Guide(),
        HasSubstr("| " + std::to_string(phrases.size()) + " | " + std::to_string(wrong) + " (" +
                  std::to_string((100 * wrong + phrases.size() / 2) / phrases.size()) +
                  " %) | 0 |"));
  }
}

}  // namespace

}  // namespace toolstest
