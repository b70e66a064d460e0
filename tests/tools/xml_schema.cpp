#include "xml_schema.h"

#include <libxml/parser.h>

#include <algorithm>
#include <functional>
#include <stdexcept>

namespace toolstest {

namespace {

using VisitNode = std::function<void(const xmlNode*)>;

struct FreeText {
  void operator()(xmlChar* text) const { xmlFree(text); }
};
using TextPtr = std::unique_ptr<xmlChar, FreeText>;

std::string ToString(const xmlChar* text) {
  return text == nullptr ? "" : reinterpret_cast<const char*>(text);
}

const xmlChar* ToXml(const std::string& text) {
  return reinterpret_cast<const xmlChar*>(text.c_str());
}

bool IsCalled(const xmlNode* node, const std::string& name) {
  return ToString(node->name) == name;
}

std::vector<const xmlNode*> ChildrenOf(const xmlNode* node) {
  std::vector<const xmlNode*> children;
  for (const xmlNode* child = node->children; child != nullptr; child = child->next) {
    if (child->type == XML_ELEMENT_NODE) children.push_back(child);
  }
  return children;
}

void VisitAll(const xmlNode* node, const VisitNode& visit) {
  visit(node);
  for (const xmlNode* child : ChildrenOf(node))
    VisitAll(child, visit);
}

const xmlNode* RootOf(const XmlPtr<xmlDoc>& document) {
  return xmlDocGetRootElement(document.get());
}

XmlPtr<xmlDoc> Parsed(const std::string& text) {
  constexpr int kSilent = XML_PARSE_NONET | XML_PARSE_NOERROR | XML_PARSE_NOWARNING;
  return XmlPtr<xmlDoc>(xmlReadMemory(text.data(), static_cast<int>(text.size()), "document.xml",
                                      nullptr, kSilent | XML_PARSE_BIG_LINES));
}

void AppendRefusal(void* refusals, xmlErrorPtr error) {
  static_cast<std::vector<Refusal>*>(refusals)->push_back({error->line, error->message});
}

void AddPaths(const xmlNode* element, const std::string& parent, std::set<std::string>& paths) {
  const std::string path =
      parent.empty() ? ToString(element->name) : parent + "/" + ToString(element->name);
  paths.insert(path);
  for (const xmlAttr* attribute = element->properties; attribute != nullptr;
       attribute = attribute->next) {
    paths.insert(path + "@" + ToString(attribute->name));
  }
  for (const xmlNode* child : ChildrenOf(element))
    AddPaths(child, path, paths);
}

}  // namespace

XmlSchema::XmlSchema(const std::string& path)
    : document_(xmlReadFile(path.c_str(), nullptr, XML_PARSE_NONET)) {
  if (document_ == nullptr) throw std::runtime_error(path + " is no XML");
  const XmlPtr<xmlSchemaParserCtxt> parser(xmlSchemaNewParserCtxt(path.c_str()));
  schema_.reset(xmlSchemaParse(parser.get()));
  if (schema_ == nullptr) throw std::runtime_error(path + " is no schema");
}

std::vector<Refusal> XmlSchema::Check(const std::string& document) const {
  std::vector<Refusal> refusals;
  const XmlPtr<xmlDoc> parsed = Parsed(document);
  if (parsed == nullptr) return {{0, "not well-formed"}};
  const XmlPtr<xmlSchemaValidCtxt> validator(xmlSchemaNewValidCtxt(schema_.get()));
  xmlSchemaSetValidStructuredErrors(validator.get(), AppendRefusal, &refusals);
  const bool isValid = xmlSchemaValidateDoc(validator.get(), parsed.get()) == 0;
  if (isValid != refusals.empty()) refusals.push_back({0, "validation failed"});
  return refusals;
}

std::set<std::string> XmlSchema::Paths() const {
  std::set<std::string> paths;
  for (const xmlNode* node : ChildrenOf(RootOf(document_))) {
    if (IsCalled(node, "element")) AddElement(node, "", paths);
  }
  return paths;
}

std::vector<const xmlNode*> XmlSchema::NodesCalled(const std::string& name) const {
  std::vector<const xmlNode*> nodes;
  VisitAll(RootOf(document_), [&](const xmlNode* node) {
    if (IsCalled(node, name)) nodes.push_back(node);
  });
  return nodes;
}

void XmlSchema::AddElement(const xmlNode* element, const std::string& parent,
                           std::set<std::string>& paths) const {
  const std::string name = AttributeOf(element, "name");
  const std::string path = parent.empty() ? name : parent + "/" + name;
  paths.insert(path);
  const std::string type = AttributeOf(element, "type");
  AddContent(type.empty() ? element : Definition("complexType", type), path, paths);
}

void XmlSchema::AddContent(const xmlNode* node, const std::string& path,
                           std::set<std::string>& paths) const {
  for (const xmlNode* child : ChildrenOf(node)) {
    if (IsCalled(child, "element")) {
      AddElement(child, path, paths);
    } else if (IsCalled(child, "attribute")) {
      paths.insert(path + "@" + AttributeOf(child, "name"));
    } else if (IsCalled(child, "group")) {
      AddContent(Definition("group", AttributeOf(child, "ref")), path, paths);
    } else {
      AddContent(child, path, paths);
    }
  }
}

const xmlNode* XmlSchema::Definition(const std::string& kind, const std::string& name) const {
  for (const xmlNode* node : ChildrenOf(RootOf(document_))) {
    if (IsCalled(node, kind) && AttributeOf(node, "name") == name) return node;
  }
  throw std::runtime_error("the schema defines no " + kind + " " + name);
}

std::set<std::string> PathsOf(const std::string& document) {
  const XmlPtr<xmlDoc> parsed = Parsed(document);
  if (parsed == nullptr) throw std::runtime_error("not well-formed");
  std::set<std::string> paths;
  AddPaths(RootOf(parsed), "", paths);
  return paths;
}

std::string Documentation(const xmlNode* node, const std::string& language) {
  for (const xmlNode* annotation : ChildrenOf(node)) {
    if (!IsCalled(annotation, "annotation")) continue;
    for (const xmlNode* text : ChildrenOf(annotation)) {
      if (IsCalled(text, "documentation") && AttributeOf(text, "lang") == language) {
        return ToString(TextPtr(xmlNodeGetContent(text)).get());
      }
    }
  }
  return "";
}

std::string AttributeOf(const xmlNode* node, const std::string& name) {
  return ToString(TextPtr(xmlGetProp(node, ToXml(name))).get());
}

}  // namespace toolstest
