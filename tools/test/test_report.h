#ifndef KA_TOOLS_TEST_REPORT_H
#define KA_TOOLS_TEST_REPORT_H

#include <nlohmann/json_fwd.hpp>
#include <string>
#include <vector>

#include "common/language.h"
#include "test/text_test.h"

namespace tools {

/// What a failed test says, one line for each text; none if it passed.
std::vector<std::string> FailureLines(const BlockTest& test, Language language, bool colored);

/// All failed tests and a last line with the numbers, for people.
std::string TestText(const std::vector<BlockTest>& tests, Language language, bool colored);

/// For programs.
nlohmann::ordered_json TestJson(const std::vector<BlockTest>& tests);

/// For build servers, in JUnit's form.
std::string TestJUnit(const std::vector<BlockTest>& tests, Language language);

}  // namespace tools

#endif
