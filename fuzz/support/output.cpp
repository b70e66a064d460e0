#include "support/output.h"

namespace fuzz {

std::string Output::Of(kaStream stream) const {
  std::string text;
  for (const kaReport& report : reports_) {
    if (report.Stream == stream) text += report.Text;
  }
  return text;
}

}  // namespace fuzz
