#ifndef KA_TESTS_TOOLS_PROGRAM_H
#define KA_TESTS_TOOLS_PROGRAM_H

#include <string>
#include <utility>
#include <vector>

namespace toolstest {

/// How a run of `ka-tts` ended.
struct Ended {
  int Status = -1;  ///< -1 if it did not end by itself
  std::string Out;
  std::string Err;
};

/// Runs `ka-tts` with arguments. Its environment is the test's own without NO_COLOR and in English,
/// with `environment` on top.
Ended RunTool(const std::vector<std::string>& arguments,
              const std::vector<std::pair<std::string, std::string>>& environment = {});
/// The same for another copy of the program.
Ended RunToolAt(const std::string& program, const std::vector<std::string>& arguments,
                const std::vector<std::pair<std::string, std::string>>& environment = {});

/// Path of `ka-tts`.
std::string ToolPath();

}  // namespace toolstest

#endif
