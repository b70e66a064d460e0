#include "kaXmlGuard.h"

#include <libxml/SAX2.h>
#include <libxml/parser.h>
#include <libxml/parserInternals.h>
#include <libxml/tree.h>
#include <libxml/xmlerror.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <unordered_map>

namespace {

thread_local int tClosedWorlds = 0;

xmlExternalEntityLoader gLibraryLoader = nullptr;

xmlParserInputPtr LoadUnlessClosed(const char* url, const char* id, xmlParserCtxtPtr context) {
  return tClosedWorlds > 0 ? nullptr : gLibraryLoader(url, id, context);
}

void InstallEntityLoader() {
  static const bool installed = [] {
    gLibraryLoader = xmlGetExternalEntityLoader();
    xmlSetExternalEntityLoader(LoadUnlessClosed);
    return true;
  }();
  static_cast<void>(installed);
}

void DropMessage(void* /*context*/, const char* /*format*/, ...) {}

std::size_t Length(const xmlChar* text) {
  return text == nullptr ? 0 : std::strlen(reinterpret_cast<const char*>(text));
}

struct FreeContext {
  void operator()(xmlParserCtxt* context) const {
    xmlFreeDoc(context->myDoc);
    xmlFreeParserCtxt(context);
  }
};
using ContextPtr = std::unique_ptr<xmlParserCtxt, FreeContext>;

/// Computes what a document parsed without substitution would expand to. Each entity is measured
/// once; a sum stops growing just above the limit.
class ExpandedSize {
 public:
  explicit ExpandedSize(xmlDoc* document) : document_(document) {}

  std::size_t OfDocument() { return OfNodes(document_->children); }

 private:
  /// Sizes of one entity as content (with elements in it) and as text of an attribute.
  using Sizes = std::unordered_map<const xmlEntity*, std::size_t>;

  static std::size_t Add(std::size_t sum, std::size_t more) {
    return std::min(sum + more, kMaxExpandedXml + 1);
  }

  std::size_t OfNodes(const xmlNode* first) {
    std::size_t sum = 0;
    for (const xmlNode* node = first; node != nullptr && sum <= kMaxExpandedXml;
         node = node->next) {
      sum = Add(sum, OfNode(node));
    }
    return sum;
  }

  std::size_t OfNode(const xmlNode* node) {
    switch (node->type) {
      case XML_ELEMENT_NODE:
        return Add(OfTag(node), OfNodes(node->children));
      case XML_ENTITY_REF_NODE:
        return OfEntity(xmlGetDocEntity(document_, node->name), contentSizes_,
                        [this](auto* e) { return OfNodes(e->children); });
      case XML_DTD_NODE:
        return 0;
      default:
        return Length(node->content);
    }
  }

  /// An element's own markup, at least `<n/>`, with all attributes.
  std::size_t OfTag(const xmlNode* element) {
    std::size_t sum = Length(element->name) + 3;
    for (const xmlNs* ns = element->nsDef; ns != nullptr; ns = ns->next) {
      sum = Add(sum, Length(ns->prefix) + Length(ns->href));
    }
    for (const xmlAttr* attribute = element->properties; attribute != nullptr;
         attribute = attribute->next) {
      sum = Add(sum, Add(Length(attribute->name) + 4, OfValue(attribute->children)));
    }
    return sum;
  }

  std::size_t OfValue(const xmlNode* first) {
    std::size_t sum = 0;
    for (const xmlNode* part = first; part != nullptr; part = part->next) {
      sum = Add(sum, part->type == XML_ENTITY_REF_NODE
                         ? OfEntityText(xmlGetDocEntity(document_, part->name))
                         : Length(part->content));
    }
    return sum;
  }

  std::size_t OfEntityText(const xmlEntity* entity) {
    return OfEntity(entity, textSizes_, [this](auto* e) { return OfReplacementText(e->content); });
  }

  /// A replacement text in which references still stand as "&name;".
  std::size_t OfReplacementText(const xmlChar* text) {
    if (text == nullptr) return 0;
    const std::string content = reinterpret_cast<const char*>(text);
    std::size_t sum = 0;
    std::size_t done = 0;
    for (std::size_t at = content.find('&'); at != std::string::npos;
         at = content.find('&', done)) {
      const std::size_t end = std::min(content.find(';', at), content.size() - 1);
      sum = Add(sum, at - done + OfReference(content.substr(at + 1, end - at - 1)));
      done = end + 1;
    }
    return Add(sum, content.size() - done);
  }

  /// "name" of a reference "&name;", or "#number" of a character.
  std::size_t OfReference(const std::string& name) {
    if (name.starts_with('#')) return 1;
    return OfEntityText(xmlGetDocEntity(document_, reinterpret_cast<const xmlChar*>(name.c_str())));
  }

  /// The size of one entity, measured by `measure` when it is asked for the first time. An entity
  /// that contains itself counts as nothing here; the parser refuses it.
  template <class Measure>
  std::size_t OfEntity(const xmlEntity* entity, Sizes& sizes, Measure measure) {
    if (entity == nullptr) return 0;
    const auto [known, isNew] = sizes.try_emplace(entity, 0);
    if (!isNew) return known->second;
    const std::size_t size = measure(entity);
    sizes[entity] = size;
    return size;
  }

  xmlDoc* document_;
  Sizes contentSizes_;
  Sizes textSizes_;
};

/// Stops a document whose declarations alone, by parameter entities, grow beyond the limit.
void DeclareEntityWithinLimit(void* userData, const xmlChar* name, int type,
                              const xmlChar* publicId, const xmlChar* systemId, xmlChar* content) {
  auto* context = static_cast<xmlParserCtxt*>(userData);
  std::size_t& declared = *static_cast<std::size_t*>(context->_private);
  declared += Length(content);
  if (declared > kMaxExpandedXml) {
    xmlStopParser(context);
    return;
  }
  xmlSAX2EntityDecl(userData, name, type, publicId, systemId, content);
}

}  // namespace

kaClosedXmlWorld::kaClosedXmlWorld() {
  InstallEntityLoader();
  ++tClosedWorlds;
}

kaClosedXmlWorld::~kaClosedXmlWorld() {
  --tClosedWorlds;
}

void SilenceXmlLibrary() {
  xmlSetGenericErrorFunc(nullptr, DropMessage);
}

bool ExpandsWithinLimit(const std::string& document) {
  const kaClosedXmlWorld closed;
  const ContextPtr context(
      xmlCreateMemoryParserCtxt(document.data(), static_cast<int>(document.size())));
  if (context == nullptr) return false;
  std::size_t declared = 0;
  context->_private = &declared;
  xmlCtxtUseOptions(context.get(), XML_PARSE_NONET | XML_PARSE_NOERROR | XML_PARSE_NOWARNING);
  context->sax->entityDecl = DeclareEntityWithinLimit;
  xmlParseDocument(context.get());
  if (context->wellFormed == 0 || context->myDoc == nullptr) return false;
  if (context->myDoc->intSubset == nullptr) return true;
  return ExpandedSize(context->myDoc).OfDocument() <= kMaxExpandedXml;
}
