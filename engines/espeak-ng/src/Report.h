#ifndef KA_ENGINE_REPORT_H
#define KA_ENGINE_REPORT_H

// Messages for the operator: one line each on stderr, beginning with the program's name.

#include <string_view>

namespace engine {

void ReportError(std::string_view message);
void ReportWarning(std::string_view message);

}  // namespace engine

#endif
