#ifndef KA_TOOLS_SERVER_READERS_H
#define KA_TOOLS_SERVER_READERS_H

#include <string>
#include <vector>

#include "kaCases.h"
#include "kaOutput.h"
#include "kaRBLDataFormat.h"
#include "kaSpeechFormat.h"
#include "kaSpeechGen.h"

namespace tools {

/// How the reading of a section ended.
enum class ReadResult {
  Complete,
  Refused,  ///< the reader gave up: the server opens no port
  Thrown    ///< a section is missing: the server ends
};

/// The announcement document as the server's readers have read it. The server stops at the first
/// section that fails; here all are read. Their XML is gone, as in the server.
class ServerReaders {
 public:
  explicit ServerReaders(const std::string& document);

  CkaSpeechFormat References;
  CkaRBLDataFormat Format;
  CkaCases Cases;
  CkaSpeechGen Announcements;
  ReadResult ReferencesResult = ReadResult::Refused;
  ReadResult FormatResult = ReadResult::Refused;
  ReadResult CasesResult = ReadResult::Refused;
  ReadResult AnnouncementsResult = ReadResult::Refused;
  std::vector<kaReport> Reports;  ///< what the readers printed
};

}  // namespace tools

#endif
