// Pages of documentation that are done as they are read: what the test of a page relies on.

#include "page_commands.h"

#include <gtest/gtest-spi.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <stdexcept>

#include "support/temp_dir.h"

namespace toolstest {

namespace {

const std::string kFile = "File `notes/a.txt`:\n\n```text\none\ntwo\n```\n";
const std::string kEdit =
    "In `notes/a.txt`, replace\n\n```text\ntwo\n```\n\nby\n\n```text\nthree\n```\n";

std::string Console(const std::string& lines) {
  return "```console\n" + lines + "```\n";
}

std::vector<PageCommand> Done(const std::string& text, const support::TempDir& dir) {
  return PageCommands::OfText(text, dir.Path()).Run();
}

TEST(PageCommands, RunCommandsAndKeepWhatIsShown) {
  const support::TempDir dir;
  const auto commands = Done(Console("$ echo a; echo b >&2\na\nb\n$ true\n"), dir);
  ASSERT_EQ(commands.size(), 2U);
  EXPECT_EQ(commands[0].Command, "echo a; echo b >&2");
  EXPECT_EQ(commands[0].Shown, "a\nb\n");
  EXPECT_EQ(commands[0].Printed, "a\nb\n");
  EXPECT_EQ(commands[1].Shown, "");
}

TEST(PageCommands, WriteAndEditFiles) {
  const support::TempDir dir;
  const auto commands =
      Done(kFile + Console("$ cat notes/a.txt\n") + kEdit + Console("$ cat notes/a.txt\n"), dir);
  ASSERT_EQ(commands.size(), 2U);
  EXPECT_EQ(commands[0].Printed, "one\ntwo\n");
  EXPECT_EQ(commands[1].Printed, "one\nthree\n");
}

TEST(PageCommands, StayInTheDirectoryOfTheLastCommand) {
  const support::TempDir dir;
  Done(Console("$ mkdir below\n$ cd below\n") + kFile, dir);
  EXPECT_TRUE(std::filesystem::exists(dir.Sub("below/notes/a.txt")));
}

TEST(PageCommands, LeaveOtherBlocksAlone) {
  const support::TempDir dir;
  EXPECT_TRUE(Done("```xml\n$ touch made\n```\n", dir).empty());
  EXPECT_FALSE(std::filesystem::exists(dir.Sub("made")));
}

TEST(PageCommands, ReplaceAndIgnore) {
  const support::TempDir dir;
  auto page = PageCommands::OfText(Console("$ echo /srv/x 17\n/srv/x 4\n"), dir.Path());
  page.Replace("/srv/x", dir.Path());
  page.Ignore(" [0-9]+", " N");
  EXPECT_EQ(page.ExpectWhatIsShown(), 1U);
}

TEST(PageCommands, FailWhereSomethingElseIsPrinted) {
  EXPECT_NONFATAL_FAILURE(PageCommands::OfText(Console("$ echo a\nb\n"), "/").ExpectWhatIsShown(),
                          "$ echo a");
}

TEST(PageCommands, RefuseAnEditOfWhatIsNotThereOnce) {
  const support::TempDir dir;
  EXPECT_THROW(Done(kFile + kEdit + kEdit, dir), std::runtime_error);
  dir.Write("b.txt", "two\ntwo\n");
  EXPECT_THROW(Done("In `b.txt`, replace\n```\ntwo\n```\n```\nx\n```\n", dir), std::runtime_error);
}

TEST(PageCommands, RefuseAPageThatEndsBeforeItsBlock) {
  const support::TempDir dir;
  EXPECT_THROW(Done("File `a`:\n", dir), std::runtime_error);
  EXPECT_THROW(Done(Console("output\n"), dir), std::runtime_error);
}

}  // namespace

}  // namespace toolstest
