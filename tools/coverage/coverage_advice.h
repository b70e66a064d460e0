#ifndef KA_TOOLS_COVERAGE_ADVICE_H
#define KA_TOOLS_COVERAGE_ADVICE_H

#include <string>

#include "coverage/coverage.h"

namespace tools {

/// Why blocks have not reached an item, and for a case which value of the row would.
std::string AdviceFor(const CoverageItem& item, const Coverage& coverage, Language language);

}  // namespace tools

#endif
