#ifndef KA_TOOLS_COVERAGE_PAGE_H
#define KA_TOOLS_COVERAGE_PAGE_H

#include <string>

#include "coverage/coverage_report.h"

namespace tools {

/// A coverage as one HTML page that needs nothing else: the shares, what was never reached, and the
/// source of the document and of the lexica with the reached lines marked.
std::string CoveragePage(const CoverageReport& report);

}  // namespace tools

#endif
