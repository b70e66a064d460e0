#ifndef KA_TOOLS_FIRST_XML_ERROR_H
#define KA_TOOLS_FIRST_XML_ERROR_H

#include <libxml/xmlerror.h>

#include <string>

#include "common/source_map.h"

namespace tools {

/// While it lives, keeps the first error of the XML library: those that follow come of it.
class FirstXmlError {
 public:
  FirstXmlError() { xmlSetStructuredErrorFunc(this, Keep); }
  ~FirstXmlError() { xmlSetStructuredErrorFunc(nullptr, nullptr); }
  FirstXmlError(const FirstXmlError&) = delete;
  FirstXmlError& operator=(const FirstXmlError&) = delete;

  SourcePosition At() const { return at_; }
  /// The library's own words, "" if there was no error.
  const std::string& Reason() const { return reason_; }
  /// The library's number of the error, XML_ERR_OK if there was none.
  int Code() const { return code_; }

 private:
  static void Keep(void* self, xmlErrorPtr error);

  SourcePosition at_;
  std::string reason_;
  int code_ = XML_ERR_OK;
};

}  // namespace tools

#endif
