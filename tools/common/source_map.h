#ifndef KA_TOOLS_SOURCE_MAP_H
#define KA_TOOLS_SOURCE_MAP_H

#include <libxml/tree.h>

#include <cstddef>
#include <string>
#include <vector>

namespace tools {

/// A place in a file; lines and columns count from 1, columns in characters. 0 is unknown.
struct SourcePosition {
  int Line = 0;
  int Column = 0;

  bool operator==(const SourcePosition&) const = default;
};

/// Where an attribute stands in its start tag.
struct AttributeSource {
  std::string Name;  ///< with its prefix
  SourcePosition NameAt;
  SourcePosition ValueAt;       ///< the first character between the quotes
  std::size_t ValueOffset = 0;  ///< the same as byte of the file
};

/// Where an element stands.
struct ElementSource {
  std::string Name;   ///< with its prefix
  SourcePosition At;  ///< its "<"; for an element out of an entity that of the reference
  int EndLine = 0;    ///< line of its end tag, or where the tag of an empty element ends
  bool bFromEntity = false;
  std::vector<AttributeSource> Attributes;  ///< those of the tag; none for an element of an entity
};

/// The places of all elements and attributes of an XML file, in document order. External entities
/// are not looked into. The XML library that parses the document for the server tells lines only,
/// and of long tags the last.
class SourceMap {
 public:
  SourceMap() = default;
  /// \param bytes the whole file. For one that is not well-formed, or in an encoding other than
  /// UTF-8 and those with one byte for a character that expat knows, the map has fewer elements
  /// than the file or none.
  explicit SourceMap(const std::string& bytes);

  const std::vector<ElementSource>& Elements() const { return elements_; }
  /// The place of an element of a document that libxml2 parsed from the same bytes; its line alone
  /// if the map does not have it. Counts from the document's begin: for all elements rather walk
  /// Elements().
  SourcePosition PositionOf(const xmlNode* element) const;

 private:
  std::vector<ElementSource> elements_;
};

}  // namespace tools

#endif
