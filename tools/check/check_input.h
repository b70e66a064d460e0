#ifndef KA_TOOLS_CHECK_INPUT_H
#define KA_TOOLS_CHECK_INPUT_H

#include "check/server_readers.h"
#include "common/document.h"
#include "common/station.h"

namespace tools {

/// What the rules look at.
struct CheckInput {
  const tools::Station& Station;
  /// Null if it cannot be parsed; rules about the document then have nothing to say.
  const tools::Document* Document;
  /// What the server's own readers make of the document; null with it.
  const ServerReaders* Readers;
  /// Why there is no document; null if there is one.
  const DocumentError* Failure;
};

}  // namespace tools

#endif
