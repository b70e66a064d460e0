// Every command of docs/words.md, run as it is printed there, gives what is printed there.

#include <gmock/gmock.h>

#include <filesystem>
#include <string>
#include <vector>

#include "demo_station.h"
#include "page_commands.h"
#include "program.h"
#include "support/temp_dir.h"
#include "words_corpus.h"

namespace toolstest {

namespace {

using ::testing::HasSubstr;

std::string Guide() {
  return support::ReadFile((Project() / "docs" / "words.md").string());
}

TEST(WordsGuide, EveryCommandPrintsWhatIsShown) {
  const DemoStation demo;
  PageCommands page("docs/words.md", demo.Dir());
  page.AddToPath(std::filesystem::path(ToolPath()).parent_path().string());
  page.Ignore("(lexidata/[a-z]+/[a-z]+):[0-9]+", "$1:N");  // Lexica grow.
  EXPECT_GE(page.ExpectWhatIsShown(), 6U);
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
