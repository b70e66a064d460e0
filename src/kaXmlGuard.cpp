#include "kaXmlGuard.h"

#include <libxml/SAX2.h>
#include <libxml/parser.h>
#include <libxml/parserInternals.h>
#include <libxml/tree.h>
#include <libxml/xmlerror.h>

#include <algorithm>
#include <cctype>
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
  template <class Declaration>
  using Sizes = std::unordered_map<const Declaration*, std::size_t>;

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
        return OfOnce(xmlGetDocEntity(document_, node->name), contentSizes_,
                      [this](const xmlEntity* e) { return OfNodes(e->children); });
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
    return Add(sum, OfDefaults(element));
  }

  /// The attributes that an element has by declaration.
  std::size_t OfDefaults(const xmlNode* element) {
    const xmlChar* prefix = element->ns == nullptr ? nullptr : element->ns->prefix;
    const xmlElement* declaration =
        xmlGetDtdQElementDesc(document_->intSubset, element->name, prefix);
    return OfOnce(declaration, defaultSizes_, [this](const xmlElement* e) {
      std::size_t sum = 0;
      for (const xmlAttribute* a = e->attributes; a != nullptr; a = a->nexth) {
        if (a->defaultValue == nullptr) continue;
        sum = Add(sum, Add(Length(a->name) + 4, OfReplacementText(a->defaultValue)));
      }
      return sum;
    });
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
    return OfOnce(entity, textSizes_,
                  [this](const xmlEntity* e) { return OfReplacementText(e->content); });
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

  /// The size of one declaration, measured by `measure` when it is asked for the first time. An
  /// entity that contains itself counts as nothing there; the parser refuses it.
  template <class Declaration, class Measure>
  std::size_t OfOnce(const Declaration* declaration, Sizes<Declaration>& sizes, Measure measure) {
    if (declaration == nullptr) return 0;
    const auto [known, isNew] = sizes.try_emplace(declaration, 0);
    if (!isNew) return known->second;
    const std::size_t size = measure(declaration);
    sizes[declaration] = size;
    return size;
  }

  xmlDoc* document_;
  Sizes<xmlEntity> contentSizes_;  ///< of entities in content, with elements in them
  Sizes<xmlEntity> textSizes_;     ///< of entities in attributes
  Sizes<xmlElement> defaultSizes_;
};

/// Counts what the declarations of a document grow to by parameter entities, and stops the parser
/// above the limit.
class DeclarationLimit {
 public:
  explicit DeclarationLimit(xmlParserCtxt* context) {
    context->_private = this;
    context->sax->entityDecl = DeclareEntity;
    context->sax->getParameterEntity = GetParameterEntity;
  }

  bool IsExceeded() const { return size_ > kMaxExpandedXml; }

 private:
  /// What a reference costs beside its text, so that empty entities come to an end, too.
  static constexpr std::size_t kReference = 64;

  static bool Count(xmlParserCtxt* context, std::size_t more) {
    auto* limit = static_cast<DeclarationLimit*>(context->_private);
    limit->size_ += more;
    if (limit->IsExceeded()) xmlStopParser(context);
    return !limit->IsExceeded();
  }

  static void DeclareEntity(void* userData, const xmlChar* name, int type, const xmlChar* publicId,
                            const xmlChar* systemId, xmlChar* content) {
    if (!Count(static_cast<xmlParserCtxt*>(userData), Length(content))) return;
    xmlSAX2EntityDecl(userData, name, type, publicId, systemId, content);
  }

  static xmlEntity* GetParameterEntity(void* userData, const xmlChar* name) {
    xmlEntity* entity = xmlSAX2GetParameterEntity(userData, name);
    if (entity == nullptr) return nullptr;
    const std::size_t size = Length(entity->content) + kReference;
    return Count(static_cast<xmlParserCtxt*>(userData), size) ? entity : nullptr;
  }

  std::size_t size_ = 0;
};

ContextPtr MakeContext(const std::string& document) {
  ContextPtr context(xmlCreateMemoryParserCtxt(document.data(), static_cast<int>(document.size())));
  if (context != nullptr) {
    xmlCtxtUseOptions(context.get(), XML_PARSE_NONET | XML_PARSE_NOERROR | XML_PARSE_NOWARNING);
  }
  return context;
}

/// libxml++ words a fault through GLib, and GLib crashes when its memory runs out. A fault that the
/// library has forgotten is not worded.
void NoteAndForget(void* occurred, xmlError* error) {
  // One without a parser's context is none of the document.
  if (error->ctxt != nullptr) *static_cast<bool*>(occurred) = true;
  xmlResetError(error);
  xmlResetLastError();
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

kaUnwordedXmlFaults::kaUnwordedXmlFaults() {
  xmlSetStructuredErrorFunc(&occurred_, NoteAndForget);
}

kaUnwordedXmlFaults::~kaUnwordedXmlFaults() {
  xmlSetStructuredErrorFunc(nullptr, nullptr);
}

bool IsPlainXml(const std::string& document) {
  return document.size() > 1 && document[0] == '<' &&
         std::isalpha(static_cast<unsigned char>(document[1])) != 0 &&
         document.find("<!") == std::string::npos;
}

bool ExpandsWithinLimit(const std::string& document) {
  const kaClosedXmlWorld closed;
  const ContextPtr context = MakeContext(document);
  if (context == nullptr) return false;
  DeclarationLimit declarations(context.get());
  xmlParseDocument(context.get());
  if (context->wellFormed == 0 || context->myDoc == nullptr) return false;
  if (context->myDoc->intSubset == nullptr) return true;
  if (declarations.IsExceeded()) return false;
  return ExpandedSize(context->myDoc).OfDocument() <= kMaxExpandedXml;
}
