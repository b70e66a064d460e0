#ifndef KA_TESTS_TOOLS_XML_SCHEMA_H
#define KA_TESTS_TOOLS_XML_SCHEMA_H

#include <libxml/tree.h>
#include <libxml/xmlschemas.h>

#include <memory>
#include <set>
#include <string>
#include <vector>

namespace toolstest {

struct FreeXml {
  void operator()(xmlDoc* document) const { xmlFreeDoc(document); }
  void operator()(xmlSchema* schema) const { xmlSchemaFree(schema); }
  void operator()(xmlSchemaParserCtxt* context) const { xmlSchemaFreeParserCtxt(context); }
  void operator()(xmlSchemaValidCtxt* context) const { xmlSchemaFreeValidCtxt(context); }
};
template <class Type>
using XmlPtr = std::unique_ptr<Type, FreeXml>;

/// What a schema refuses.
struct Refusal {
  int Line = 0;
  std::string Message;
};

/// An XML schema and what stands in it.
class XmlSchema {
 public:
  /// \throws std::runtime_error if there is no valid schema at `path`
  explicit XmlSchema(const std::string& path);

  /// What is refused in a document; one that is not well-formed is refused at line 0.
  std::vector<Refusal> Check(const std::string& document) const;

  /// Every element and attribute that a document may have, such as "Station/Assembly/Case@id".
  std::set<std::string> Paths() const;

  /// The nodes of the schema called `name` ("element", "attribute", "enumeration").
  std::vector<const xmlNode*> NodesCalled(const std::string& name) const;

 private:
  void AddElement(const xmlNode* element, const std::string& parent,
                  std::set<std::string>& paths) const;
  void AddContent(const xmlNode* node, const std::string& path, std::set<std::string>& paths) const;
  const xmlNode* Definition(const std::string& kind, const std::string& name) const;

  XmlPtr<xmlDoc> document_;
  XmlPtr<xmlSchema> schema_;
};

/// Every element and attribute that a document has, in the form of XmlSchema::Paths.
std::set<std::string> PathsOf(const std::string& document);

/// The text of a node's `documentation` in a language, "" if it has none.
std::string Documentation(const xmlNode* node, const std::string& language);

std::string AttributeOf(const xmlNode* node, const std::string& name);

}  // namespace toolstest

#endif
