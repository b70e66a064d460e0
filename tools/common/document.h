#ifndef KA_TOOLS_DOCUMENT_H
#define KA_TOOLS_DOCUMENT_H

#include <deque>
#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

#include "common/cannot_run.h"
#include "common/source_map.h"

namespace tools {

/// An attribute as the server reads it.
struct Attribute {
  std::string Name;
  std::string Value;       ///< with the escape character in place of each backslash-e
  SourcePosition NameAt;   ///< unknown for an attribute by default of the document's DTD
  SourcePosition ValueAt;  ///< the first character between the quotes
};

/// An element of the announcement document.
struct Element {
  std::string Name;                   ///< without its prefix
  bool bInNamespace = false;          ///< the server's readers find no such element by its name
  std::vector<Attribute> Attributes;  ///< in their order; those in a namespace are left out
  std::string Text;                   ///< content of the first child node, if that is a text
  SourcePosition At;       ///< its "<"; for an element out of an entity that of the reference
  int EndLine = 0;         ///< line of its end tag
  bool bLastNode = false;  ///< nothing follows it in its parent, not even white space
  const Element* Parent = nullptr;
  std::vector<const Element*> Children;

  /// The attribute called `name`, null if there is none.
  const Attribute* Find(std::string_view name) const;
  bool Has(std::string_view name) const { return Find(name) != nullptr; }
  /// An attribute's value, "" if there is none.
  std::string Value(std::string_view name) const;
  /// The leading integer of an attribute's value, as the server reads numbers; 0 if there is none.
  int Number(std::string_view name) const;
  /// Where an attribute's value stands; the element's place if that is unknown.
  SourcePosition ValueAt(std::string_view name) const;
  /// The child elements called `name`, as the server's readers find them.
  std::vector<const Element*> ChildrenCalled(std::string_view name) const;
  /// The first of them, null if there is none.
  const Element* FirstChild(std::string_view name) const;
};

/// The document cannot be parsed.
class DocumentError : public CannotRun {
 public:
  DocumentError(const std::filesystem::path& file, SourcePosition at, std::string reason);

  SourcePosition At() const { return at_; }
  /// The XML library's own words, "" if the file cannot be read at all.
  const std::string& Reason() const { return reason_; }

 private:
  SourcePosition at_;
  std::string reason_;
};

/// The announcement document as the server reads it, and where in the file everything stands.
class Document {
 public:
  /// \throws DocumentError
  explicit Document(const std::filesystem::path& file);
  Document(const Document&) = delete;
  Document& operator=(const Document&) = delete;

  const std::filesystem::path& File() const { return file_; }
  /// The file's bytes.
  const std::string& Source() const { return source_; }
  const Element& Root() const { return elements_.front(); }
  /// All elements in document order.
  const std::deque<Element>& Elements() const { return elements_; }
  /// The parts that the server reads: the first References, the first Assembly, and the first
  /// RBLFormat in the latter. Null if there is none; the server then ends at start.
  const Element* References() const { return Root().FirstChild("References"); }
  const Element* Assembly() const { return Root().FirstChild("Assembly"); }
  const Element* Format() const;
  /// All announcements that the server reads, of all languages, in document order.
  std::vector<const Element*> Announcements() const;

 private:
  std::filesystem::path file_;
  std::string source_;
  std::deque<Element> elements_;
};

}  // namespace tools

#endif
