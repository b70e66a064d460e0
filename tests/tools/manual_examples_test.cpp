// The commands of the manual pages' examples, done as they are read: at a staged demo station whose
// server runs with its own engine. Players, killall and reboot are stubs.

#include <fcntl.h>
#include <gmock/gmock.h>

#include <filesystem>
#include <fstream>
#include <regex>

#include "demo_station.h"
#include "kaDescriptor.h"
#include "manual.h"
#include "page_commands.h"
#include "program.h"
#include "server/port_lease.h"
#include "server/server_process.h"
#include "server/stub_bin.h"
#include "shell_output.h"
#include "support/temp_dir.h"
#include "support/wait_until.h"

namespace toolstest {

namespace {

namespace fs = std::filesystem;

/// A page by language and name.
using PageId = std::pair<std::string, std::string>;

std::vector<PageId> PageIds() {
  std::vector<PageId> ids;
  for (const ManualPage& page : Manuals())
    ids.emplace_back(page.Language, page.Name);
  return ids;
}

std::string TestName(const testing::TestParamInfo<PageId>& info) {
  return std::regex_replace(info.param.second + "_" + info.param.first, std::regex("[^A-Za-z0-9]"),
                            "_");
}

/// The demo station with a running server.
class RunningStation {
 public:
  RunningStation() : stubs_(dir_.Sub("bin")) {
    for (const char* name : {"killall", "reboot", "play"})
      stubs_.Add(name);
    stubs_.Add("aplay", "cat >/dev/null");
    for (const char* name : {"sh", "cat", "cp", "rm", "find"})
      stubs_.AddReal(name);
    Stage();
    StartServer();
  }

  std::string Dir() const { return dir_.Sub("station"); }
  /// A place for what the examples put into /tmp.
  std::string Scratch() const { return dir_.Sub("scratch"); }
  std::string Programs() const { return stubs_.Directory(); }
  /// Ports for texts, data and commands.
  std::vector<unsigned> Ports() const {
    return {ports_[0].Number(), ports_[1].Number(), ports_[2].Number()};
  }

 private:
  void Stage() const {
    fs::create_directories(Scratch());
    const fs::path build = fs::path(ToolPath()).parent_path().parent_path();
    std::string ports;
    for (const servertest::PortLease& port : ports_)
      ports += (ports.empty() ? "" : ",") + std::to_string(port.Number());
    const auto printed =
        ShellOutput(Quoted((Project() / "scripts" / "stage").string()) + " --ports " + ports +
                    " --build " + Quoted(build.string()) + " " + Quoted(Dir()));
    EXPECT_THAT(printed.back(), testing::StartsWith("Staged in ")) << printed.back();
  }

  void StartServer() {
    const std::string output = dir_.Sub("output");
    const kaDescriptor file(open(output.c_str(), O_WRONLY | O_CREAT | O_APPEND, 0600));
    server_ = std::make_unique<servertest::ServerProcess>(
        servertest::Launch{.Executable = Dir() + "/ka-tts-server",
                           .Arguments = {},
                           .Environment = {"PATH=" + Programs()},
                           .WorkingDirectory = Dir(),
                           .Out = file.Get(),
                           .Err = file.Get()});
    EXPECT_TRUE(support::WaitUntil([&output] {
      return support::ReadFile(output).find("Der Ansageserver läuft.") != std::string::npos;
    })) << support::ReadFile(output);
  }

  support::TempDir dir_;
  servertest::StubBin stubs_;
  servertest::PortLease ports_[3];
  std::unique_ptr<servertest::ServerProcess> server_;
};

/// The examples as a page whose commands can be done; each prints its status behind all else.
std::string AsMarkdown(const ManualExample& example) {
  std::string page = "```console\n";
  for (const std::string& line : example.Lines)
    page += line.starts_with("$ ") ? line + "; echo \"[$?]\"\n" : line + "\n";
  return page + "```\n";
}

std::string AsMarkdown(const std::vector<ManualExample>& examples) {
  std::string page;
  for (const ManualExample& example : examples)
    if (example.HasCommands() && !example.bNotRun) page += AsMarkdown(example);
  return page;
}

/// Takes the status off the end of what a command printed.
int TakeStatus(std::string& printed) {
  static const std::regex kStatus("\\[([0-9]+)\\]\n$");
  std::smatch match;
  if (!std::regex_search(printed, match, kStatus)) return -1;
  const int status = std::stoi(match[1]);
  printed.erase(static_cast<std::size_t>(match.position(0)));
  return status;
}

/// A command did its work, also if it has found something, and printed what the page shows, if it
/// shows anything.
void ExpectDone(PageCommand command) {
  const int status = TakeStatus(command.Printed);
  EXPECT_TRUE(status == 0 || status == 1) << command.Command << "\n" << command.Printed << status;
  if (!command.Shown.empty()) {
    EXPECT_EQ(command.Printed, command.Shown) << command.Command;
  }
}

class ManualExamples : public testing::TestWithParam<PageId> {};

TEST_P(ManualExamples, DoWhatThePageShows) {
  const ManualPage page = ReadManual(GetParam().first, GetParam().second);
  const std::string markdown = AsMarkdown(ExamplesOf(page));
  if (markdown.empty()) return;
  const RunningStation station;
  PageCommands commands = PageCommands::OfText(markdown, station.Scratch());
  commands.AddToPath(station.Dir());
  commands.AddToPath(station.Programs());
  commands.Replace("/tmp/", station.Scratch() + "/");
  commands.Replace("/usr/lib/ka-tts-server", station.Dir());
  for (std::size_t i = 0; i < 3; ++i) {
    commands.Replace("127.0.0.1 " + std::to_string(5701 + i),
                     "127.0.0.1 " + std::to_string(station.Ports()[i]));
  }
  for (const PageCommand& command : commands.Run())
    ExpectDone(command);
}

/// Every command can be told from a file's content, and what is not run says why.
TEST_P(ManualExamples, AreWrittenSoThatTheyAreFound) {
  const ManualPage page = ReadManual(GetParam().first, GetParam().second);
  const std::regex command("(ka-tts|ka-espeak-ng|\\./ka-.*|systemctl|journalctl|nc|printf) .*");
  for (const ManualExample& example : ExamplesOf(page)) {
    for (const std::string& line : example.Lines) {
      EXPECT_FALSE(std::regex_match(line, command)) << "no \"$ \" before: " << line;
    }
  }
  bool inside = false;
  const std::regex prose("\\.[A-Z]+ \"?ka\\\\-tts [a-z]+.*");
  for (const std::string& line : SectionOf(page, "EXAMPLES", "BEISPIELE")) {
    if (line == ".EX" || line == ".EE") inside = line == ".EX";
    EXPECT_FALSE(!inside && std::regex_match(line, prose)) << "not between .EX and .EE: " << line;
  }
}

INSTANTIATE_TEST_SUITE_P(Page, ManualExamples, testing::ValuesIn(PageIds()), TestName);

}  // namespace

}  // namespace toolstest
