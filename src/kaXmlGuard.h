#ifndef KA_XML_GUARD_H
#define KA_XML_GUARD_H

#include <cstddef>
#include <string>

/// \file
/// Guards for XML that comes from the network. It stands on libxml2, the library under libxml++.

/// While it lives, documents that its thread parses open nothing: neither files nor the network. An
/// external entity reads as nothing.
class kaClosedXmlWorld {
 public:
  kaClosedXmlWorld();
  ~kaClosedXmlWorld();
  kaClosedXmlWorld(const kaClosedXmlWorld&) = delete;
  kaClosedXmlWorld& operator=(const kaClosedXmlWorld&) = delete;
};

/// Switches the XML library's own messages on standard error off, for the calling thread.
void SilenceXmlLibrary();

/// Largest size in bytes to which a document from the network may expand.
constexpr std::size_t kMaxExpandedXml = 262144;

/// Whether `document`, with every entity and default attribute counted each time it occurs, stays
/// within kMaxExpandedXml. It is parsed without expanding anything, so the answer costs time and
/// memory in proportion to the document, however much it would expand to. A document without a
/// document type declaration has nothing to expand. One that is not well-formed counts as too
/// large.
bool ExpandsWithinLimit(const std::string& document);

#endif
