#ifndef KA_TESTS_TOOLS_PAGE_COMMANDS_H
#define KA_TESTS_TOOLS_PAGE_COMMANDS_H

#include <cstddef>
#include <string>
#include <utility>
#include <vector>

namespace toolstest {

/// A command of a page, with what the page shows below it and what it printed.
struct PageCommand {
  std::string Command;
  std::string Shown;
  std::string Printed;
};

/// A page of documentation in Markdown that is done as it is read:
///
/// - in a block ```` ```console ```` a line that begins with "$ " is a command of the shell, and
/// the
///   lines up to the next one are what it prints, on both streams;
/// - below the line "File `NAME`:" the next block is the content of that file;
/// - below the line "In `NAME`, replace" the next block stands exactly once in that file, and the
///   block after it takes its place.
///
/// Names are relative to the directory of the moment, which "cd" changes. Commands run without
/// colours and in English.
class PageCommands {
 public:
  /// \param page name of the page in the project, e.g. "docs/words.md"
  /// \param directory where its first command runs
  PageCommands(const std::string& page, std::string directory);
  /// The same for a page's own text.
  static PageCommands OfText(std::string text, std::string directory);

  /// Programs of this directory are found first.
  void AddToPath(const std::string& directory);
  /// What commands say on the page, and what is run instead. Where a command prints `here`, it is
  /// read as `onThePage`.
  void Replace(const std::string& onThePage, const std::string& here);
  /// What matches this regular expression is no matter: it is replaced by `mark` (where $1 is its
  /// first group) in what is shown and in what is printed.
  void Ignore(const std::string& pattern, const std::string& mark);

  /// Does all of it. \throws std::runtime_error if a step of the page cannot be done
  std::vector<PageCommand> Run();
  /// The same, and expects that each command prints what is shown. \return how many there were
  std::size_t ExpectWhatIsShown();

 private:
  PageCommands() = default;

  using Lines = std::vector<std::string>;

  std::string TakeBlock(std::size_t& at) const;
  void WriteFile(const std::string& name, const std::string& content) const;
  void EditFile(const std::string& name, const std::string& from, const std::string& to) const;
  void RunBlock(std::size_t& at, std::vector<PageCommand>& commands);
  std::string Printed(const std::string& command);
  std::string Comparable(std::string text) const;

  Lines lines_;
  std::string directory_;
  std::string path_;
  std::vector<std::pair<std::string, std::string>> replacements_;
  std::vector<std::pair<std::string, std::string>> ignored_;
};

}  // namespace toolstest

#endif
