#include "page_commands.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <memory>
#include <regex>
#include <sstream>
#include <stdexcept>

#include "support/temp_dir.h"

namespace toolstest {

namespace {

namespace fs = std::filesystem;

constexpr const char* kFence = "```";

std::string ReplacedAll(std::string text, const std::string& from, const std::string& to) {
  for (auto at = text.find(from); at != std::string::npos; at = text.find(from, at + to.size()))
    text.replace(at, from.size(), to);
  return text;
}

/// What stands between the two texts that a line begins and ends with; empty if it does not.
std::string Between(const std::string& line, const std::string& begin, const std::string& end) {
  if (!line.starts_with(begin) || !line.ends_with(end)) return "";
  return line.substr(begin.size(), line.size() - begin.size() - end.size());
}

/// What a line of the shell prints on standard output.
std::string OutputOf(const std::string& line) {
  const std::unique_ptr<FILE, int (*)(FILE*)> pipe(::popen(line.c_str(), "r"), ::pclose);
  if (!pipe) throw std::runtime_error("no shell");
  std::string output;
  for (int c = std::fgetc(pipe.get()); c != EOF; c = std::fgetc(pipe.get()))
    output += static_cast<char>(c);
  return output;
}

}  // namespace

PageCommands::PageCommands(const std::string& page, std::string directory)
    : PageCommands(OfText(support::ReadFile(KA_SOURCE_DIR "/" + page), std::move(directory))) {}

PageCommands PageCommands::OfText(std::string text, std::string directory) {
  PageCommands page;
  std::istringstream lines(std::move(text));
  for (std::string line; std::getline(lines, line);)
    page.lines_.push_back(line);
  page.directory_ = std::move(directory);
  return page;
}

void PageCommands::AddToPath(const std::string& directory) {
  path_ += directory + ":";
}

void PageCommands::Replace(const std::string& onThePage, const std::string& here) {
  replacements_.emplace_back(onThePage, here);
}

void PageCommands::Ignore(const std::string& pattern, const std::string& mark) {
  ignored_.emplace_back(pattern, mark);
}

std::vector<PageCommand> PageCommands::Run() {
  std::vector<PageCommand> commands;
  for (std::size_t at = 0; at < lines_.size(); ++at) {
    const std::string& line = lines_[at];
    const std::string written = Between(line, "File `", "`:");
    const std::string edited = Between(line, "In `", "`, replace");
    if (!written.empty()) {
      WriteFile(written, TakeBlock(at));
    } else if (!edited.empty()) {
      const std::string from = TakeBlock(at);
      EditFile(edited, from, TakeBlock(at));
    } else if (line == "```console") {
      RunBlock(at, commands);
    } else if (line.starts_with(kFence)) {
      --at;
      TakeBlock(at);
    }
  }
  return commands;
}

std::size_t PageCommands::ExpectWhatIsShown() {
  const std::vector<PageCommand> commands = Run();
  for (const PageCommand& command : commands)
    EXPECT_EQ(Comparable(command.Printed), Comparable(command.Shown)) << "$ " << command.Command;
  return commands.size();
}

/// The content of the next block behind the line `at`, which then is the block's last line.
std::string PageCommands::TakeBlock(std::size_t& at) const {
  do {
    if (++at >= lines_.size()) throw std::runtime_error("the page ends where a block must stand");
  } while (!lines_[at].starts_with(kFence));
  std::string content;
  while (++at < lines_.size() && lines_[at] != kFence)
    content += lines_[at] + "\n";
  return content;
}

void PageCommands::WriteFile(const std::string& name, const std::string& content) const {
  const fs::path file = fs::path(directory_) / name;
  fs::create_directories(file.parent_path());
  if (!(std::ofstream(file) << content).flush()) throw std::runtime_error("cannot write " + name);
}

void PageCommands::EditFile(const std::string& name, const std::string& from,
                            const std::string& to) const {
  std::string content = support::ReadFile((fs::path(directory_) / name).string());
  const auto at = content.find(from);
  if (at == std::string::npos || content.find(from, at + 1) != std::string::npos)
    throw std::runtime_error("not exactly once in " + name + ":\n" + from);
  WriteFile(name, content.replace(at, from.size(), to));
}

void PageCommands::RunBlock(std::size_t& at, std::vector<PageCommand>& commands) {
  const std::size_t first = commands.size();
  while (++at < lines_.size() && lines_[at] != kFence) {
    if (lines_[at].starts_with("$ ")) {
      commands.push_back({lines_[at].substr(2), "", ""});
    } else if (commands.size() == first) {
      throw std::runtime_error("output without a command: " + lines_[at]);
    } else {
      commands.back().Shown += lines_[at] + "\n";
    }
  }
  for (std::size_t i = first; i < commands.size(); ++i)
    commands[i].Printed = Printed(commands[i].Command);
}

std::string PageCommands::Printed(const std::string& command) {
  std::string run = command;
  for (const auto& [onThePage, here] : replacements_)
    run = ReplacedAll(run, onThePage, here);
  const support::TempDir scratch;
  const std::string directory = scratch.Sub("directory");
  std::string output =
      OutputOf("export LC_ALL=C NO_COLOR=1 PATH='" + path_ + "'\"$PATH\"; cd '" + directory_ +
               "' && { " + run + "\n} 2>&1; pwd >'" + directory + "'");
  const std::string last = support::ReadFile(directory);
  directory_ = last.substr(0, last.find('\n'));
  for (const auto& [onThePage, here] : replacements_)
    output = ReplacedAll(output, here, onThePage);
  return output;
}

std::string PageCommands::Comparable(std::string text) const {
  for (const auto& [pattern, mark] : ignored_)
    text = std::regex_replace(text, std::regex(pattern), mark);
  return text;
}

}  // namespace toolstest
