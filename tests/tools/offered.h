#ifndef KA_TESTS_TOOLS_OFFERED_H
#define KA_TESTS_TOOLS_OFFERED_H

#include <map>
#include <set>
#include <string>
#include <vector>

namespace toolstest {

/// What bash offers for the last word. \param words cut as bash does, with "=" as a word of its own
/// \param directory in which the shell is
std::set<std::string> OfferedByBash(const std::vector<std::string>& words,
                                    const std::string& directory = "/");

/// What zsh offers at the end of a line, with the descriptions that it shows.
/// \param locale as in LC_ALL
std::map<std::string, std::string> OfferedByZsh(const std::string& line,
                                                const std::string& locale = "C.UTF-8",
                                                const std::string& directory = "/");

}  // namespace toolstest

#endif
