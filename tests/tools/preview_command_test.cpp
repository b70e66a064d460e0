// `ka-tts preview` as a program, and every command of its page.

#include <gmock/gmock.h>
#include <stdlib.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>
#include <sstream>
#include <string>
#include <vector>

#include "demo_station.h"
#include "program.h"
#include "running_tool.h"
#include "support/temp_dir.h"

namespace toolstest {

namespace {

namespace fs = std::filesystem;
using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::Not;
using ::testing::StartsWith;

/// The demo station with an engine that writes its text, and a player that writes its arguments.
class PreviewCommand : public ::testing::Test {
 protected:
  PreviewCommand() {
    AddProgram(demo.Sub("engines/espeak-ng/ka-espeak-ng"),
               "while [ \"$1\" != -- ]; do shift; done\n"
               "echo engine at work\n"
               "{ printf 'speech of: '; cat \"$2\"; } >\"$3\"\n");
    AddProgram(stubs.Sub("aplay"), "echo \"$@\" >>" + stubs.Sub("played") + "\n");
    fs::create_symlink(ToolPath(), stubs.Sub("ka-tts"));
  }

  static void AddProgram(const std::string& path, const std::string& script) {
    fs::remove(path);
    std::ofstream(path) << "#!/bin/sh\n" << script;
    fs::permissions(path, fs::perms(0755));
  }
  std::string Block(const std::string& name) const {
    return demo.Sub("announcements/blocks/" + name + ".xml");
  }
  std::string Path() const { return stubs.Path() + ":/usr/bin:/bin"; }
  Ended Preview(std::vector<std::string> options) const {
    options.insert(options.begin(), {"preview", "--station", demo.Dir()});
    return RunTool(options, {{"PATH", Path()}});
  }
  std::string Played() const { return support::ReadFile(stubs.Sub("played")); }

  DemoStation demo;
  support::TempDir stubs;
};

TEST_F(PreviewCommand, PrintsFileNamesAndTexts) {
  const Ended ended = Preview({Block("departure-delayed-1")});
  EXPECT_EQ(ended.Status, 0);
  EXPECT_EQ(ended.Err, "");
  EXPECT_THAT(ended.Out, StartsWith(Block("departure-delayed-1") + "\n  de0  \\voice(de) "));
  EXPECT_THAT(ended.Out, HasSubstr("\n  en0  \\voice(en-gb) "));
}

TEST_F(PreviewCommand, RefusedBlockEndsWithOne) {
  const Ended ended = Preview({Block("departure-delayed-1"), Block("missing-time")});
  EXPECT_EQ(ended.Status, 1);
  EXPECT_THAT(ended.Out, HasSubstr(Block("missing-time") + ":3: refused: row 1 has no value for "
                                                           "the required attribute time\n"));
}

TEST_F(PreviewCommand, WhatCannotBeReadEndsWithTwo) {
  EXPECT_EQ(Preview({demo.Sub("none.xml")}).Status, 2);
  EXPECT_EQ(Preview({}).Status, 2) << "no block at all";
  demo.Write("announcements/station.xml", "<Station");
  const Ended ended = Preview({Block("missing-time")});
  EXPECT_EQ(ended.Status, 2);
  EXPECT_THAT(ended.Err, HasSubstr("cannot be read as an announcement document"));
}

TEST_F(PreviewCommand, JsonHasAllBlocks) {
  const Ended ended = Preview({"--json", "--explain", Block("several-rows"), Block("no-rows")});
  const nlohmann::json json = nlohmann::json::parse(ended.Out);
  ASSERT_EQ(json.at("blocks").size(), 2U);
  EXPECT_EQ(json.at("blocks").at(0).at("texts").size(), 12U);
  EXPECT_EQ(json.at("blocks").at(1).at("state"), "refused");
  EXPECT_THAT(ended.Out, Not(HasSubstr("\x1b")));
}

TEST_F(PreviewCommand, ColourOnlyWhereItIsAskedFor) {
  EXPECT_THAT(Preview({"--color=always", Block("several-rows")}).Out, HasSubstr("\x1b[1m"));
  EXPECT_THAT(Preview({Block("several-rows")}).Out, Not(HasSubstr("\x1b[")));
}

TEST_F(PreviewCommand, StartsNoProgramByItself) {
  Preview({"--explain", Block("several-rows")});
  EXPECT_TRUE(fs::is_empty(demo.Sub("run/store")));
  EXPECT_EQ(Played(), "");
}

TEST_F(PreviewCommand, AudioHasTheEngineMakeTheFilesOfTheStore) {
  const support::TempDir audio;
  const Ended ended = Preview({"--audio", audio.Sub("new/dir"), Block("departure-delayed-1")});
  EXPECT_EQ(ended.Status, 0) << ended.Err;
  const std::string text = support::ReadFile(audio.Sub("new/dir/de0"));
  EXPECT_THAT(ended.Out, HasSubstr("de0  " + text + "\n"));
  EXPECT_EQ(support::ReadFile(audio.Sub("new/dir/de0.wav")), "speech of: " + text);
  EXPECT_TRUE(fs::exists(audio.Sub("new/dir/en0.wav")));
  EXPECT_THAT(ended.Out, Not(HasSubstr("engine at work"))) << "its output is no preview";
  EXPECT_THAT(ended.Err, HasSubstr("engine at work"));
  EXPECT_TRUE(fs::is_empty(demo.Sub("run/store")));
  EXPECT_EQ(Played(), "");
}

TEST_F(PreviewCommand, FilesOfSeveralBlocksHaveTheirNames) {
  const support::TempDir audio;
  fs::create_directory(demo.Sub("other"));
  fs::copy_file(Block("no-rows"), demo.Sub("other/no rows.xml"));
  fs::copy_file(Block("several-rows"), demo.Sub("other/departure-delayed-1.xml"));
  const Ended ended =
      Preview({"--audio", audio.Path(), Block("departure-delayed-1"),
               demo.Sub("other/departure-delayed-1.xml"), demo.Sub("other/no rows.xml")});
  EXPECT_EQ(ended.Status, 1) << ended.Err;
  EXPECT_TRUE(fs::exists(audio.Sub("departure-delayed-1-de0.wav")));
  EXPECT_TRUE(fs::exists(audio.Sub("departure-delayed-1-2-en5.wav")));
}

TEST_F(PreviewCommand, EngineThatFailsEndsWithTwo) {
  AddProgram(demo.Sub("engines/espeak-ng/ka-espeak-ng"), "exit 3\n");
  const support::TempDir audio;
  const Ended ended = Preview({"--audio", audio.Path(), Block("departure-delayed-1")});
  EXPECT_EQ(ended.Status, 2);
  EXPECT_THAT(ended.Err, HasSubstr("de0.wav: was not made: the engine failed"));
}

TEST_F(PreviewCommand, DirectoryThatTheCommandLineDoesNotTakeIsRefused) {
  const support::TempDir audio;
  const Ended ended = Preview({"--audio", audio.Sub("a $(x)"), Block("departure-delayed-1")});
  EXPECT_EQ(ended.Status, 2);
  EXPECT_THAT(ended.Err, HasSubstr("has characters in its name"));
}

TEST_F(PreviewCommand, PlayPlaysTheTextsInTheirOrder) {
  EXPECT_EQ(Preview({"--play", Block("departure-delayed-1")}).Status, 0);
  std::istringstream lines(Played());
  std::vector<std::string> names;
  for (std::string line; std::getline(lines, line);)
    names.push_back(fs::path(line).filename());
  EXPECT_THAT(names, ElementsAre("de0.wav", "en0.wav"));
  EXPECT_FALSE(fs::exists(fs::path(Played().substr(0, Played().find('\n'))).parent_path()))
      << "the temporary directory is gone";
}

TEST_F(PreviewCommand, PlayWithAudioPlaysThoseFiles) {
  const support::TempDir audio;
  Preview({"--play", "--audio", audio.Path(), Block("departure-delayed-1")});
  EXPECT_EQ(Played(), audio.Sub("de0.wav") + "\n" + audio.Sub("en0.wav") + "\n");
}

class Watch : public PreviewCommand {
 protected:
  std::string Command() const {
    return ToolPath() + " preview --lang en --station " + demo.Dir() + " --watch " +
           Block("departure-delayed-1");
  }
};

TEST_F(Watch, RunsAgainAfterAChangeOfEachFile) {
  RunningTool tool(Command(), demo.Dir());
  ASSERT_TRUE(tool.Prints("  en0  ")) << tool.Output();
  demo.Replace("announcements/blocks/departure-delayed-1.xml", "delay=\"1\"", "delay=\"77\"");
  EXPECT_TRUE(tool.Prints("77 Minuten")) << tool.Output();
  demo.Replace("announcements/station.xml", "generalprefix=\"\\voice(de) \\rate(155)\"",
               "generalprefix=\"NEWPREFIX\"");
  EXPECT_TRUE(tool.Prints("NEWPREFIX")) << tool.Output();
  demo.Write("lexidata/de/minutes", "77=\"siebenundsiebzig\"\n");
  EXPECT_TRUE(tool.Prints("siebenundsiebzig")) << tool.Output();
  demo.Replace("kaconfig/kaTtsServer.kacfg", "/announcements/sounds\"", "/announcements/NOISES\"");
  EXPECT_TRUE(tool.Prints("NOISES")) << tool.Output();
  EXPECT_EQ(tool.Interrupt(), SIGINT);
}

TEST_F(Watch, FileThatAnEditorReplacesIsAChange) {
  RunningTool tool(Command(), demo.Dir());
  ASSERT_TRUE(tool.Prints("  en0  ")) << tool.Output();
  fs::copy_file(Block("several-rows"), demo.Sub("announcements/blocks/tmp~"));
  fs::rename(demo.Sub("announcements/blocks/tmp~"), Block("departure-delayed-1"));
  EXPECT_TRUE(tool.Prints("  en5  ")) << tool.Output();
}

TEST_F(Watch, GoesOnAfterAMistake) {
  const std::string document = support::ReadFile(demo.Sub("announcements/station.xml"));
  RunningTool tool(Command(), demo.Dir());
  ASSERT_TRUE(tool.Prints("  en0  ")) << tool.Output();
  demo.Write("announcements/station.xml", "<Station");
  EXPECT_TRUE(tool.Prints("cannot be read")) << tool.Output();
  demo.Write("announcements/station.xml", document);
  EXPECT_TRUE(tool.Prints("  en0  ", 2)) << tool.Output();
}

/// The commands of docs/preview.md: its indented lines that begin with the program's name.
std::vector<std::string> CommandsOfThePage() {
  std::istringstream page(support::ReadFile((Project() / "docs" / "preview.md").string()));
  std::vector<std::string> commands;
  for (std::string line; std::getline(page, line);)
    if (line.starts_with("    ka-tts ")) commands.push_back(line.substr(4));
  return commands;
}

class Page : public PreviewCommand {
 protected:
  Page() {
    setenv("PATH", Path().c_str(), 1);  // NOLINT(concurrency-mt-unsafe): no other thread
  }

  /// Directories of the page's commands become the test's own.
  std::string Placed(std::string command) const {
    const std::size_t at = command.find("/tmp/");
    return at == std::string::npos ? command : command.replace(at, 5, stubs.Path() + "/");
  }
};

TEST_F(Page, EveryCommandDoesWhatItSays) {
  const std::vector<std::string> commands = CommandsOfThePage();
  EXPECT_GE(commands.size(), 10U);
  for (const std::string& command : commands) {
    if (command.find("--watch") != std::string::npos) {
      RunningTool tool(Placed(command), demo.Dir());
      EXPECT_TRUE(tool.Prints("de0")) << command;
      continue;
    }
    const std::string before = Played();
    const int expected = command.find("missing-time") == std::string::npos ? 0 : 1;
    const std::string line = "cd " + demo.Dir() + " && " + Placed(command) + " >out.txt 2>&1";
    const int status = std::system(line.c_str());
    EXPECT_EQ(WEXITSTATUS(status), expected) << command << support::ReadFile(demo.Sub("out.txt"));
    EXPECT_EQ(Played() != before, command.find("--play") != std::string::npos) << command;
  }
  EXPECT_TRUE(fs::exists(stubs.Sub("ka-tts-speech/de0.wav")));
  EXPECT_TRUE(fs::exists(stubs.Sub("ka-tts-texts.xml")));
  EXPECT_THAT(Played(), HasSubstr("de0.wav"));
}

}  // namespace

}  // namespace toolstest
