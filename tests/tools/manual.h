#ifndef KA_TESTS_TOOLS_MANUAL_H
#define KA_TESTS_TOOLS_MANUAL_H

#include <set>
#include <string>
#include <vector>

namespace toolstest {

/// A manual page as the build has made it.
struct ManualPage {
  std::string Language;  ///< "de" or "en"
  std::string Name;      ///< with its section, e.g. "ka-tts-check.1"
  std::string File;
  std::string Source;  ///< roff

  char Section() const { return Name.back(); }
};

/// A block of the examples: what stands between .EX and .EE, as it is printed.
struct ManualExample {
  std::vector<std::string> Lines;
  bool bNotRun = false;  ///< the line before it is a comment "not run: REASON"

  bool HasCommands() const;
};

/// Names of the pages in a language, in their order.
std::vector<std::string> ManualNames(const std::string& language);
ManualPage ReadManual(const std::string& language, const std::string& name);
/// All pages of both languages.
std::vector<ManualPage> Manuals();

/// Source lines of a section, by its heading in either language; none if there is no such section.
std::vector<std::string> SectionOf(const ManualPage& page, const std::string& english,
                                   const std::string& german);
std::vector<ManualExample> ExamplesOf(const ManualPage& page);

/// A line of roff as it is printed: without changes of font and with the characters that escapes
/// stand for. \throws std::runtime_error if it has an escape that no page needs
std::string Printed(const std::string& line);

/// The heads of a page's items that begin with "-", e.g. "--lang LANG", with their descriptions.
struct ManualOption {
  std::string Head;
  std::string Description;

  auto operator<=>(const ManualOption&) const = default;
};
std::vector<ManualOption> OptionsOf(const ManualPage& page);

}  // namespace toolstest

#endif
