#include "words/lexicon_file.h"

#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <random>
#include <string>
#include <vector>

#include "common/cannot_run.h"
#include "common/station.h"
#include "support/temp_dir.h"

namespace toolstest {

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using tools::Add;
using tools::LexiconAddition;
using tools::LexiconFile;
using tools::Unwritable;

class LexiconOnDisk : public ::testing::Test {
 protected:
  LexiconFile Lexicon(const std::string& bytes) const {
    return LexiconFile(dir.Write("lexicon", bytes));
  }
  static LexiconAddition Adding(const LexiconFile& lexicon, const std::string& word) {
    return Add(lexicon, word, "neu");
  }

  support::TempDir dir;
};

TEST_F(LexiconOnDisk, EntriesHaveTheirLines) {
  const LexiconFile lexicon = Lexicon("# head\n\nHbf=\"Hauptbahnhof\"\nfaulty\n  Bf = \"Bahnhof\"");
  ASSERT_EQ(lexicon.Rows().size(), 2U);
  EXPECT_EQ(lexicon.Rows()[0].Entry.var, "Hbf");
  EXPECT_EQ(lexicon.Rows()[0].Line, 3);
  EXPECT_EQ(lexicon.Rows()[1].Entry.var, "Bf ");
  EXPECT_EQ(lexicon.Rows()[1].Entry.value, "Bahnhof");
  EXPECT_EQ(lexicon.Rows()[1].Line, 5);
}

TEST_F(LexiconOnDisk, MissingFileCannotBeRead) {
  EXPECT_THROW(LexiconFile(dir.Sub("none")), tools::CannotRun);
}

TEST_F(LexiconOnDisk, RewritingTellsWhichEntryReplacedWhat) {
  const tools::Rewriting rewriting =
      Lexicon("Hbf=\"Bahnhof\"\nBonn =\"B.\"\n").Rewrite("Bonn Hbf x");
  EXPECT_EQ(rewriting.Said, "B.Bahnhof x");
  std::vector<int> rows;
  for (const std::optional<std::size_t>& row : rewriting.Row)
    rows.push_back(row ? static_cast<int>(*row) : -1);
  EXPECT_THAT(rows, ElementsAre(1, 1, 1, 1, 1, 0, 0, 0, -1, -1));
  EXPECT_THAT(rewriting.Origin, ElementsAre(0, 0, 5, 5, 5, 5, 5, 5, 5, 8, 9));
}

TEST_F(LexiconOnDisk, RemovedTextIsCoveredAndJoinsItsNeighbours) {
  const tools::Rewriting rewriting = Lexicon("-=\"\"\nab=\"c\"\n").Rewrite("a-b");
  EXPECT_EQ(rewriting.Said, "c");
  EXPECT_TRUE(rewriting.Row[0] && rewriting.Row[1] && rewriting.Row[2]);
}

TEST_F(LexiconOnDisk, NewEntryStandsAtTheEndAndTheRestStays) {
  const LexiconAddition addition = Adding(Lexicon("# a\nHbf=\"x\"\n\n# b"), "Bf");
  EXPECT_EQ(addition.Bytes, "# a\nHbf=\"x\"\n\n# b\nBf=\"neu\"\n");
  EXPECT_EQ(addition.Line, 5);
  EXPECT_FALSE(addition.WouldTake);
  EXPECT_THAT(addition.Loses, IsEmpty());
}

TEST_F(LexiconOnDisk, EmptyFileGetsItsFirstEntry) {
  const LexiconAddition addition = Adding(Lexicon(""), "Bf");
  EXPECT_EQ(addition.Bytes, "Bf=\"neu\"\n");
  EXPECT_EQ(addition.Line, 1);
}

TEST_F(LexiconOnDisk, LineEndsOfTheFileAreKept) {
  EXPECT_EQ(Adding(Lexicon("a=\"x\"\r\nb=\"y\""), "c").Bytes,
            "a=\"x\"\r\nb=\"y\"\r\nc=\"neu\"\r\n");
}

TEST_F(LexiconOnDisk, NewEntryStandsBeforeTheFirstThatWouldTakeItsText) {
  const LexiconAddition addition = Adding(Lexicon("x=\"1\"\nHbf=\"2\"\nBonn=\"3\"\n"), "Bonn Hbf");
  EXPECT_EQ(addition.Bytes, "x=\"1\"\nBonn Hbf=\"neu\"\nHbf=\"2\"\nBonn=\"3\"\n");
  EXPECT_EQ(addition.Line, 2);
  EXPECT_EQ(addition.WouldTake, 1U);
}

TEST_F(LexiconOnDisk, LaterEntriesThatHoldTheWordAreNamed) {
  const LexiconAddition addition = Adding(Lexicon("n=\"1\"\nBonn Nord=\"2\"\nUlm=\"3\"\n"), "Bonn");
  EXPECT_EQ(addition.WouldTake, 0U);
  EXPECT_THAT(addition.Loses, ElementsAre(1U));
}

TEST_F(LexiconOnDisk, WordThatIsThereAlreadyIsNotAdded) {
  const LexiconAddition addition = Adding(Lexicon("a=\"x\"\nBf=\"y\"\n"), "Bf");
  EXPECT_EQ(addition.Present, 1U);
  EXPECT_EQ(addition.Bytes, "a=\"x\"\nBf=\"y\"\n");
}

TEST_F(LexiconOnDisk, ReplacedFileKeepsItsModeAndLeavesNothingBehind) {
  const std::string file = dir.Write("lexicon", "old");
  ASSERT_EQ(::chmod(file.c_str(), 0640), 0);
  tools::ReplaceFile(file, "new");
  EXPECT_EQ(support::ReadFile(file), "new");
  EXPECT_EQ(std::filesystem::status(file).permissions(), std::filesystem::perms(0640));
  const auto entries = std::filesystem::directory_iterator(dir.Path());
  EXPECT_EQ(std::distance(begin(entries), end(entries)), 1);
}

TEST_F(LexiconOnDisk, ReplacedFileKeepsItsOwner) {
  constexpr uid_t kNobody = 65534;
  const std::string file = dir.Write("lexicon", "old");
  if (::chown(file.c_str(), kNobody, kNobody) != 0) GTEST_SKIP() << "only root gives files away";
  tools::ReplaceFile(file, "new");
  struct stat status {};
  ASSERT_EQ(::stat(file.c_str(), &status), 0);
  EXPECT_EQ(status.st_uid, kNobody);
  EXPECT_EQ(status.st_gid, kNobody);
}

TEST_F(LexiconOnDisk, LinkStaysALink) {
  const std::string file = dir.Write("real", "old");
  std::filesystem::create_symlink(file, dir.Sub("link"));
  tools::ReplaceFile(dir.Sub("link"), "new");
  EXPECT_TRUE(std::filesystem::is_symlink(dir.Sub("link")));
  EXPECT_EQ(support::ReadFile(file), "new");
}

TEST_F(LexiconOnDisk, FileInNoDirectoryCannotBeWritten) {
  EXPECT_THROW(tools::ReplaceFile(dir.Sub("none/lexicon"), "x"), tools::CannotRun);
}

TEST(LexiconEntry, WhatTheFormatCannotHoldIsRefused) {
  for (const char* word : {"", "a\"b", "a=b", " a", "#a", "[a", "a\nb", "\ta", "a\x7F"}) {
    EXPECT_TRUE(Unwritable(word, "x")) << word;
  }
  for (const char* replacement : {"a\"b", "a\nb", "a\rb"}) {
    EXPECT_TRUE(Unwritable("x", replacement)) << replacement;
  }
  for (const char* word : {"a", "a ", "(a)", "a#", "'", "ä", "a b"}) {
    EXPECT_FALSE(Unwritable(word, "")) << word;
  }
  EXPECT_FALSE(Unwritable("a", "b = 'c' # [d]"));
}

TEST_F(LexiconOnDisk, WhateverIsAcceptedIsReadBack) {
  std::mt19937 random(20250611);  // NOLINT(cert-msc32-c,cert-msc51-cpp): the same every time
  const std::string characters = "ab =\"'#[]\\\t\n\r\xC3\xA4.:-";
  std::uniform_int_distribution<std::size_t> pick(0, characters.size() - 1);
  std::uniform_int_distribution<std::size_t> length(0, 4);
  const auto any = [&] {
    std::string text(length(random), ' ');
    for (char& c : text)
      c = characters[pick(random)];
    return text;
  };
  int accepted = 0;
  for (int round = 0; round < 1000; ++round) {
    const std::string word = any();
    const std::string replacement = any();
    if (Unwritable(word, replacement)) continue;
    ++accepted;
    const LexiconFile lexicon = Lexicon(Add(Lexicon(""), word, replacement).Bytes);
    ASSERT_EQ(lexicon.Rows().size(), 1U) << word;
    ASSERT_EQ(lexicon.Rows()[0].Entry.var, word);
    ASSERT_EQ(lexicon.Rows()[0].Entry.value, replacement);
  }
  EXPECT_GT(accepted, 50);
}

}  // namespace

}  // namespace toolstest
