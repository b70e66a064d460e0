#include "kaNavigateXML.h"

#include <libxml/parser.h>
#include <libxml/tree.h>

#include <cstdlib>
#include <memory>
#include <string_view>
#include <utility>

#include "kaFile.h"
#include "kaOutput.h"
#include "kaXmlGuard.h"

namespace {

/// Documents write the escape character of the speech engine as backslash-e.
std::string WithEscapeCharacters(std::string value) {
  for (auto pos = value.find("\\e"); pos != std::string::npos; pos = value.find("\\e", pos)) {
    value.replace(pos, 2, 1, '\x1b');
  }
  return value;
}

/// The library's element below the wrapper; null for any other node.
xmlNode* AsElement(const xmlpp::Node* node) {
  if (node == nullptr) return nullptr;
  const xmlNode* element = node->cobj();
  return element->type == XML_ELEMENT_NODE ? const_cast<xmlNode*>(element) : nullptr;
}

std::string ToString(const xmlChar* text) {
  return text == nullptr ? "" : reinterpret_cast<const char*>(text);
}

struct FreeXml {
  void operator()(xmlChar* text) const { xmlFree(text); }
};

/// An attribute's value, read without a wrapper for each of the thousands that a document has.
std::string ValueOf(const xmlAttr* attribute) {
  if (attribute->type == XML_ATTRIBUTE_DECL) {
    // The element does not have it itself but by the document's DTD.
    return ToString(reinterpret_cast<const xmlAttribute*>(attribute)->defaultValue);
  }
  const xmlNode* part = attribute->children;
  if (part == nullptr) return "";
  if (part->next == nullptr && part->type == XML_TEXT_NODE) return ToString(part->content);
  const std::unique_ptr<xmlChar, FreeXml> value(xmlNodeListGetString(attribute->doc, part, 1));
  return ToString(value.get());
}

/// The attribute called `name`; null if there is none. One in a namespace has another name.
const xmlAttr* FindAttribute(const xmlpp::Node* node, const char* name) {
  xmlNode* element = AsElement(node);
  return element == nullptr
             ? nullptr
             : xmlHasNsProp(element, reinterpret_cast<const xmlChar*>(name), nullptr);
}

/// A name alone, which in XPath means the child elements of this name.
bool IsPlainName(const std::string& xpath) {
  constexpr std::string_view kLetters = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz";
  return !xpath.empty() && xpath.find_first_not_of(kLetters) == std::string::npos;
}

/// What the XPath expression `name` selects, without the cost of one: documents have thousands of
/// elements. As there, an element in a namespace has another name.
xmlpp::NodeSet FindChildren(xmlpp::Node* node, const std::string& name) {
  xmlpp::NodeSet found;
  for (xmlNode* child = node->cobj()->children; child != nullptr; child = child->next) {
    if (child->type != XML_ELEMENT_NODE || child->ns != nullptr) continue;
    if (name != reinterpret_cast<const char*>(child->name)) continue;
    xmlpp::Node::create_wrapper(child);
    found.push_back(static_cast<xmlpp::Node*>(child->_private));
  }
  return found;
}

/// Nothing in a plain document names a file or an address that the parser could open.
bool ParsePlain(xmlpp::DomParser& parser, const std::string& document) {
  const kaUnwordedXmlFaults faults;
  parser.parse_memory(document);
  return !faults.Occurred();
}

/// False, or an exception of the XML library, for what is no document or expands too far.
bool ParseFromNetwork(xmlpp::DomParser& parser, const std::string& document) {
  if (IsPlainXml(document)) return ParsePlain(parser, document);
  if (!ExpandsWithinLimit(document)) return false;
  const kaClosedXmlWorld closed;
  parser.set_parser_options(XML_PARSE_NONET);
  parser.parse_memory(document);
  return true;
}

/// Reaches what a parser gives its document up by, which the library calls only for another one.
class Releaser : public xmlpp::DomParser {
 public:
  static void Release(xmlpp::DomParser& parser) { (parser.*(&Releaser::release_underlying))(); }
};

}  // namespace

CkaNavigateXML::CkaNavigateXML() : bIsInitialized(false) {
  _KA_THISCLASS_MSG_ID = 10000;
}

CkaNavigateXML::~CkaNavigateXML() = default;

bool CkaNavigateXML::Initialize(const std::string& source, bool validate, bool fromMemory) {
  SilenceXmlLibrary();
  try {
    if (validate) Parser.set_validate(true);
    Parser.set_substitute_entities(true);
    if (!fromMemory) {
      Parser.parse_file(CkaFile().GetFileNameFromShellPath(source));
    } else if (!ParseFromNetwork(Parser, source)) {
      ReleaseDocument();
      return false;
    }
  } catch (...) {  // the XML library's exceptions have no common base
    return false;
  }
  bIsInitialized = true;
  return true;
}

bool CkaNavigateXML::Initialize(char* source, bool validate, bool fromMemory) {
  return Initialize(std::string(source), validate, fromMemory);
}

bool CkaNavigateXML::Initialize(const char* source, bool validate, bool fromMemory) {
  return Initialize(std::string(source), validate, fromMemory);
}

void CkaNavigateXML::ReleaseDocument() {
  Releaser::Release(Parser);
}

bool CkaNavigateXML::IsInitialized() const {
  return bIsInitialized;
}

xmlpp::NodeSet CkaNavigateXML::FindNodes(xmlpp::Node* node, const std::string& xpath) const {
  if (node == nullptr) return {};
  return IsPlainName(xpath) ? FindChildren(node, xpath) : node->find(xpath);
}

std::vector<std::string> CkaNavigateXML::GetAttributeNames(xmlpp::Node* node) const {
  std::vector<std::string> names;
  const xmlNode* element = AsElement(node);
  if (element == nullptr) return names;
  for (const xmlAttr* attribute = element->properties; attribute != nullptr;
       attribute = attribute->next) {
    names.push_back(ToString(attribute->name));
  }
  return names;
}

std::vector<std::pair<std::string, std::string>> CkaNavigateXML::GetAttributes(
    xmlpp::Node* node) const {
  std::vector<std::pair<std::string, std::string>> attributes;
  const xmlNode* element = AsElement(node);
  if (element == nullptr) return attributes;
  for (const xmlAttr* listed = element->properties; listed != nullptr; listed = listed->next) {
    std::string name = ToString(listed->name);
    const xmlAttr* attribute = listed->ns == nullptr ? listed : FindAttribute(node, name.c_str());
    if (attribute == nullptr) continue;
    attributes.emplace_back(std::move(name), WithEscapeCharacters(ValueOf(attribute)));
  }
  return attributes;
}

bool CkaNavigateXML::AttributeExists(xmlpp::Node* node, const std::string& name) const {
  return FindAttribute(node, name.c_str()) != nullptr;
}

std::string CkaNavigateXML::GetAttributeValue(xmlpp::Node* node, const std::string& name) const {
  return GetAttributeValue(node, name.c_str());
}

std::string CkaNavigateXML::GetAttributeValue(xmlpp::Node* node, const char* name) const {
  const xmlAttr* attribute = FindAttribute(node, name);
  return attribute == nullptr ? "" : WithEscapeCharacters(ValueOf(attribute));
}

int CkaNavigateXML::GetAttributeValueInt(xmlpp::Node* node, const std::string& name) const {
  return GetAttributeValueInt(node, name.c_str());
}

int CkaNavigateXML::GetAttributeValueInt(xmlpp::Node* node, const char* name) const {
  return LeadingInteger(GetAttributeValue(node, name));
}

std::string CkaNavigateXML::GetTextValue(xmlpp::Node* node) const {
  const auto* content = dynamic_cast<const xmlpp::ContentNode*>(GetFirstChild(node));
  return content == nullptr ? "" : content->get_content().raw();
}

xmlpp::Node* CkaNavigateXML::GetFirstChild(xmlpp::Node* node) const {
  if (node == nullptr) return nullptr;
  const xmlpp::Node::NodeList children = node->get_children();
  return children.empty() ? nullptr : children.front();
}

std::string CkaNavigateXML::GetElementName(xmlpp::Node* node) const {
  return node == nullptr ? "" : node->get_name().raw();
}

xmlpp::Node* CkaNavigateXML::GetRootNode(const char* ending) {
  xmlpp::Document* document = bIsInitialized ? Parser.get_document() : nullptr;
  xmlpp::Node* root = document == nullptr ? nullptr : document->get_root_node();
  if (root == nullptr) PrintErr(std::string("Erst XML initialisieren") + ending);
  return root;
}

xmlpp::Node* CkaNavigateXML::GetRequiredChild(xmlpp::Node* node, const char* name) const {
  return node == nullptr ? nullptr : FindNodes(node, name).at(0);
}

int LeadingInteger(const std::string& text) {
  return static_cast<int>(std::strtol(text.c_str(), nullptr, 10));
}
