#include "check/server_readers.h"

#include <stdexcept>

namespace tools {

namespace {

template <class Reader>
ReadResult ReadSection(Reader& reader, const std::string& document, bool (Reader::*read)()) {
  try {
    const bool complete = reader.Initialize(document, false, false) && (reader.*read)();
    reader.ReleaseDocument();
    return complete ? ReadResult::Complete : ReadResult::Refused;
  } catch (const std::out_of_range&) {
    reader.ReleaseDocument();
    return ReadResult::Thrown;
  }
}

}  // namespace

ServerReaders::ServerReaders(const std::string& document) {
  const kaOutputCapture capture(Reports, true);
  ReferencesResult = ReadSection(References, document, &CkaSpeechFormat::ReadReferences);
  FormatResult = ReadSection(Format, document, &CkaRBLDataFormat::ReadAssembly);
  CasesResult = ReadSection(Cases, document, &CkaCases::ReadCases);
  AnnouncementsResult = ReadSection(Announcements, document, &CkaSpeechGen::ReadSpeechBuildSeq);
}

}  // namespace tools
