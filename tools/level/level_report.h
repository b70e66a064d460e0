#ifndef KA_TOOLS_LEVEL_REPORT_H
#define KA_TOOLS_LEVEL_REPORT_H

#include <nlohmann/json_fwd.hpp>
#include <string>
#include <vector>

#include "common/report.h"
#include "level/levelling.h"

namespace tools {

/// For people: a table with a line per file, what was or is to be done with it below, and a last
/// line with the numbers.
std::string LevelsAsText(const std::vector<FileLevel>& levels, const Report& names, bool colored);

/// For programs.
nlohmann::ordered_json LevelsAsJson(const std::vector<FileLevel>& levels, const LevelGoal& goal,
                                    const Report& names);

}  // namespace tools

#endif
