#include "common/document.h"

#include <libxml/valid.h>

#include <algorithm>
#include <iterator>
#include <utility>

#include "common/first_xml_error.h"
#include "common/station.h"
#include "kaNavigateXML.h"

namespace tools {

namespace {

constexpr Bilingual kUnreadable = {"kann nicht als Ansagedokument gelesen werden",
                                   "cannot be read as an announcement document"};

std::string_view View(const xmlChar* text) {
  return text == nullptr ? "" : reinterpret_cast<const char*>(text);
}

/// Builds the elements from a document that the server's code has parsed: names, values and texts
/// are what its readers get.
class TreeBuilder : private CkaNavigateXML {
 public:
  TreeBuilder(const std::filesystem::path& file, const std::string& source) : map_(source) {
    const FirstXmlError error;
    bool complete = false;
    Silently([&] { complete = Initialize(file.string(), false, false); });
    if (!complete) throw DocumentError(file, error.At(), error.Reason());
  }

  std::deque<Element> Build() {
    xmlpp::Node* root = GetRootNode();
    mapFits_ = CountElements(root->cobj()) == map_.Elements().size();
    AddElement(root->cobj(), nullptr);
    return std::move(elements_);
  }

 private:
  /// The map lacks elements of external entities; it then tells nothing.
  static std::size_t CountElements(const xmlNode* element) {
    std::size_t count = 1;
    for (const xmlNode* child = element->children; child != nullptr; child = child->next)
      if (child->type == XML_ELEMENT_NODE) count += CountElements(child);
    return count;
  }

  void AddElement(const xmlNode* node, Element* parent) {
    const ElementSource* source = mapFits_ ? &map_.Elements()[elements_.size()] : nullptr;
    Element& element = elements_.emplace_back();
    element.Parent = parent;
    if (parent != nullptr) parent->Children.push_back(&element);
    element.Name = View(node->name);
    element.bInNamespace = node->ns != nullptr;
    element.bLastNode = node->next == nullptr;
    element.At =
        source != nullptr ? source->At : SourcePosition{static_cast<int>(xmlGetLineNo(node)), 0};
    element.EndLine = source != nullptr ? source->EndLine : element.At.Line;
    xmlpp::Node* wrapped = WrapperOf(node);
    element.Text = GetTextValue(wrapped);
    AddAttributes(element, wrapped, source);
    for (const xmlNode* child = node->children; child != nullptr; child = child->next)
      if (child->type == XML_ELEMENT_NODE) AddElement(child, &element);
  }

  static xmlpp::Node* WrapperOf(const xmlNode* node) {
    xmlpp::Node::create_wrapper(const_cast<xmlNode*>(node));
    return static_cast<xmlpp::Node*>(node->_private);
  }

  void AddAttributes(Element& element, xmlpp::Node* node, const ElementSource* source) {
    for (const xmlAttr* a = node->cobj()->properties; a != nullptr; a = a->next)
      if (a->ns == nullptr) AddAttribute(element, node, std::string(View(a->name)), source);
    const xmlElement* declared =
        xmlGetDtdElementDesc(node->cobj()->doc->intSubset, node->cobj()->name);
    if (declared == nullptr) return;
    for (const xmlAttribute* a = declared->attributes; a != nullptr; a = a->nexth) {
      const std::string name(View(a->name));
      if (a->defaultValue == nullptr || a->prefix != nullptr || element.Has(name)) continue;
      AddAttribute(element, node, name, source);
    }
  }

  void AddAttribute(Element& element, xmlpp::Node* node, const std::string& name,
                    const ElementSource* source) {
    Attribute attribute{name, GetAttributeValue(node, name), {}, {}};
    if (const AttributeSource* place = FindSource(source, name)) {
      attribute.NameAt = place->NameAt;
      attribute.ValueAt = place->ValueAt;
    }
    element.Attributes.push_back(std::move(attribute));
  }

  static const AttributeSource* FindSource(const ElementSource* source, const std::string& name) {
    if (source == nullptr) return nullptr;
    const auto found = std::find_if(source->Attributes.begin(), source->Attributes.end(),
                                    [&name](const AttributeSource& a) { return a.Name == name; });
    return found == source->Attributes.end() ? nullptr : &*found;
  }

  SourceMap map_;
  bool mapFits_ = false;
  std::deque<Element> elements_;
};

}  // namespace

const Attribute* Element::Find(std::string_view name) const {
  const auto found = std::find_if(Attributes.begin(), Attributes.end(),
                                  [name](const Attribute& a) { return a.Name == name; });
  return found == Attributes.end() ? nullptr : &*found;
}

std::string Element::Value(std::string_view name) const {
  const Attribute* attribute = Find(name);
  return attribute == nullptr ? "" : attribute->Value;
}

int Element::Number(std::string_view name) const {
  return LeadingInteger(Value(name));
}

SourcePosition Element::ValueAt(std::string_view name) const {
  const Attribute* attribute = Find(name);
  return attribute == nullptr || attribute->ValueAt.Line == 0 ? At : attribute->ValueAt;
}

std::vector<const Element*> Element::ChildrenCalled(std::string_view name) const {
  std::vector<const Element*> found;
  std::copy_if(
      Children.begin(), Children.end(), std::back_inserter(found),
      [name](const Element* child) { return !child->bInNamespace && child->Name == name; });
  return found;
}

const Element* Element::FirstChild(std::string_view name) const {
  const std::vector<const Element*> found = ChildrenCalled(name);
  return found.empty() ? nullptr : found.front();
}

DocumentError::DocumentError(const std::filesystem::path& file, SourcePosition at,
                             std::string reason)
    : CannotRun(kUnreadable, file), at_(at), reason_(std::move(reason)) {}

Document::Document(const std::filesystem::path& file) : file_(file) {
  try {
    source_ = Read(file);
  } catch (const CannotRun&) {
    throw DocumentError(file, {}, "");
  }
  elements_ = TreeBuilder(file, source_).Build();
}

const Element* Document::Format() const {
  const Element* assembly = Assembly();
  return assembly == nullptr ? nullptr : assembly->FirstChild("RBLFormat");
}

std::vector<const Element*> Document::Announcements() const {
  std::vector<const Element*> announcements;
  const Element* assembly = Assembly();
  if (assembly == nullptr) return announcements;
  for (const Element* language : assembly->ChildrenCalled("Language")) {
    const auto found = language->ChildrenCalled("Announcement");
    announcements.insert(announcements.end(), found.begin(), found.end());
  }
  return announcements;
}

}  // namespace tools
