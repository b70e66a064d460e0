#include "common/first_xml_error.h"

namespace tools {

void FirstXmlError::Keep(void* self, xmlErrorPtr error) {
  auto* first = static_cast<FirstXmlError*>(self);
  if (!first->reason_.empty() || error->level < XML_ERR_ERROR || error->message == nullptr) return;
  first->at_ = {error->line, error->int2};
  first->reason_ = error->message;
  first->reason_.erase(first->reason_.find_last_not_of('\n') + 1);
  first->code_ = error->code;
}

}  // namespace tools
