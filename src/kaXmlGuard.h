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

/// While it lives, faults that the calling thread's XML parsers find are noted here and nowhere
/// else: libxml++ throws nothing for those that leave a document well-formed, and no text for the
/// others. Only for plain documents: where entities refer to each other, libxml2 ends a loop by its
/// memory of the fault.
class kaUnwordedXmlFaults {
 public:
  kaUnwordedXmlFaults();
  ~kaUnwordedXmlFaults();
  kaUnwordedXmlFaults(const kaUnwordedXmlFaults&) = delete;
  kaUnwordedXmlFaults& operator=(const kaUnwordedXmlFaults&) = delete;

  /// Whether there was a fault, or something that deserved a warning.
  bool Occurred() const { return occurred_; }

 private:
  bool occurred_ = false;
};

/// Switches the XML library's own messages on standard error off, for the calling thread.
void SilenceXmlLibrary();

/// Whether `document` is known at sight to declare nothing, so that nothing in it expands: it
/// begins with an element, hence is in UTF-8, and no "<!" is in it. Not every document without
/// declarations is plain, but nearly all blocks are.
bool IsPlainXml(const std::string& document);

/// Largest size in bytes to which a document from the network may expand.
constexpr std::size_t kMaxExpandedXml = 262144;

/// Whether `document`, with every entity and default attribute counted each time it occurs, stays
/// within kMaxExpandedXml. It is parsed without expanding anything, so the answer costs time and
/// memory in proportion to the document, however much it would expand to. A document without a
/// document type declaration has nothing to expand. One that is not well-formed counts as too
/// large.
bool ExpandsWithinLimit(const std::string& document);

#endif
