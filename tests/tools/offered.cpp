#include "offered.h"

#include "shell_output.h"

namespace toolstest {

namespace {

const std::string kTests = KA_SOURCE_DIR "/tests/tools/";
const std::string kCompletions = KA_BUILD_DIR "/completions";

}  // namespace

std::set<std::string> OfferedByBash(const std::vector<std::string>& words,
                                    const std::string& directory) {
  std::string command = "cd " + Quoted(directory) + " && bash " + Quoted(kTests + "offered.bash") +
                        " " + Quoted(kCompletions + "/ka-tts.bash");
  for (const std::string& word : words)
    command += " " + Quoted(word);
  const std::vector<std::string> lines = ShellOutput(command);
  return {lines.begin(), lines.end()};
}

std::map<std::string, std::string> OfferedByZsh(const std::string& line, const std::string& locale,
                                                const std::string& directory) {
  std::map<std::string, std::string> offered;
  for (const std::string& printed : ShellOutput(
           "cd " + Quoted(directory) + " && LC_ALL=" + Quoted(locale) + " timeout -k 5 60 zsh -f " +
           Quoted(kTests + "offered.zsh") + " " + Quoted(kCompletions) + " " + Quoted(line))) {
    const auto tab = printed.find('\t');
    const auto dashes = printed.find(" -- ", tab);
    offered[printed.substr(0, tab)] = dashes == std::string::npos ? "" : printed.substr(dashes + 4);
  }
  return offered;
}

}  // namespace toolstest
