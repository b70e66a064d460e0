#ifndef KA_TOOLS_WORDS_REPORT_H
#define KA_TOOLS_WORDS_REPORT_H

#include <nlohmann/json_fwd.hpp>
#include <string>
#include <vector>

#include "common/report.h"
#include "words/word_list.h"

namespace tools {

/// For people: two lines per word, and a last one with the numbers. \param names prints file names
std::string WordsAsText(const std::vector<SpokenWord>& words, const Report& names, bool colored);
/// For programs.
nlohmann::ordered_json WordsAsJson(const std::vector<SpokenWord>& words, const Report& names);

/// One text that somebody tries.
std::string TrialAsText(const SpokenText& text, const Report& names, bool colored);
nlohmann::ordered_json TrialAsJson(const SpokenText& text, const Report& names);

}  // namespace tools

#endif
