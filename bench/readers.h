#ifndef KA_BENCH_READERS_H
#define KA_BENCH_READERS_H

#include <stdexcept>
#include <string>

#include "kaSpeechbuilder.h"

namespace bench {

/// Has all four readers of a builder read the announcement document at `path`, as its start-up
/// does.
inline void ReadDocument(CkaSpeechbuilder& builder, const std::string& path) {
  const bool read =
      builder.SpeechFormat.Initialize(path, false, false) &&
      builder.SpeechFormat.ReadReferences() &&
      builder.RBLDataFormat.Initialize(path, false, false) &&
      builder.RBLDataFormat.ReadAssembly() && builder.CaseData.Initialize(path, false, false) &&
      builder.CaseData.ReadCases() && builder.SpeechGen.Initialize(path, false, false) &&
      builder.SpeechGen.ReadSpeechBuildSeq();
  if (!read) throw std::runtime_error("the document cannot be read");
}

}  // namespace bench

#endif
