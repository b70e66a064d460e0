#include "preview/block_fault.h"

#include "common/first_xml_error.h"
#include "common/station.h"
#include "kaRBLDataContent.h"
#include "kaXmlGuard.h"

namespace tools {

namespace {

/// What the guard stops says so by the library's error for entities that grow too much, by none, or
/// by the one for a parser that was stopped.
bool IsOfGuard(int code) {
  return code == XML_ERR_OK || code == XML_ERR_ENTITY_LOOP || code == XML_ERR_USER_STOP;
}

}  // namespace

BlockFault FaultOf(const std::string& block) {
  // The library does not even look at it.
  if (block.empty()) return {false, {1, 1}, "Document is empty"};
  SilenceXmlLibrary();
  const FirstXmlError error;
  const bool isWithinLimit = ExpandsWithinLimit(block);
  if (!isWithinLimit && IsOfGuard(error.Code())) return {true, {}, ""};
  if (isWithinLimit) {
    CkaRBLDataContent content;
    Silently([&] { content.Initialize(block, false, true); });
  }
  return {false, error.At(), error.Reason()};
}

}  // namespace tools
