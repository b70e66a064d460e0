#ifndef KA_TOOLS_BLOCK_FAULT_H
#define KA_TOOLS_BLOCK_FAULT_H

#include <string>

#include "common/source_map.h"

namespace tools {

/// Why the server cannot read a data block at all.
struct BlockFault {
  bool bExpandsTooFar = false;  ///< well-formed, but its entities would make it too large
  SourcePosition At;            ///< unknown if it expands too far
  std::string Reason;           ///< the XML library's own words, "" if it expands too far
};

/// \param block what is used of the message; the server refuses it as no XML
BlockFault FaultOf(const std::string& block);

}  // namespace tools

#endif
