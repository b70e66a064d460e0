#include "common/source_map.h"

#include <expat.h>

#include <algorithm>
#include <memory>
#include <string_view>
#include <utility>

namespace tools {

namespace {

constexpr std::string_view kBlanks = " \t\r\n";
constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

/// Lines and columns of the bytes of a text. The bytes are asked for in ascending order.
class Positions {
 public:
  explicit Positions(std::string_view text)
      : text_(text), at_(text.starts_with(kByteOrderMark) ? kByteOrderMark.size() : 0) {}

  /// Every byte is a character, unlike in UTF-8.
  void CountBytes() { countsBytes_ = true; }

  SourcePosition Of(std::size_t offset) {
    for (; at_ < offset; ++at_)
      Pass(text_[at_]);
    return {line_, column_};
  }

 private:
  void Pass(char c) {
    if (c == '\n') {
      ++line_;
      column_ = 1;
    } else if (countsBytes_ || (static_cast<unsigned char>(c) & 0xC0U) != 0x80U) {
      ++column_;
    }
  }

  std::string_view text_;
  std::size_t at_;
  int line_ = 1;
  int column_ = 1;
  bool countsBytes_ = false;
};

struct FreeParser {
  void operator()(XML_Parser parser) const { XML_ParserFree(parser); }
};

/// Follows the parser through the file.
class MapBuilder {
 public:
  explicit MapBuilder(const std::string& bytes)
      : bytes_(bytes), positions_(bytes), parser_(XML_ParserCreate(nullptr)) {}

  std::vector<ElementSource> Build() {
    XML_SetUserData(parser_.get(), this);
    XML_SetXmlDeclHandler(parser_.get(), OnDeclaration);
    XML_SetElementHandler(parser_.get(), OnStart, OnEnd);
    // Not well-formed: what came before is known all the same.
    static_cast<void>(
        XML_Parse(parser_.get(), bytes_.data(), static_cast<int>(bytes_.size()), XML_TRUE));
    return std::move(elements_);
  }

 private:
  static void XMLCALL OnDeclaration(void* self, const char* /*version*/, const char* encoding,
                                    int /*standalone*/) {
    const std::string_view name = encoding == nullptr ? "" : encoding;
    if (name.starts_with("ISO-8859") || name.starts_with("iso-8859")) {
      static_cast<MapBuilder*>(self)->positions_.CountBytes();
    }
  }
  static void XMLCALL OnStart(void* self, const char* name, const char** /*attributes*/) {
    static_cast<MapBuilder*>(self)->Start(name);
  }
  static void XMLCALL OnEnd(void* self, const char* /*name*/) {
    static_cast<MapBuilder*>(self)->End();
  }

  /// Within an entity this is the place of the reference.
  std::size_t Offset() const {
    const XML_Index index = XML_GetCurrentByteIndex(parser_.get());
    return std::min(static_cast<std::size_t>(std::max<XML_Index>(index, 0)), bytes_.size());
  }

  void Start(const char* name) {
    const std::size_t offset = Offset();
    open_.push_back(elements_.size());
    ElementSource& element = elements_.emplace_back();
    element.Name = name;
    element.At = positions_.Of(offset);
    element.bFromEntity = !std::string_view(bytes_).substr(offset).starts_with('<');
    if (!element.bFromEntity) ReadTag(element, offset + 1 + element.Name.size());
  }

  /// The event stands at the end tag, behind an empty element's only tag, or at the reference of an
  /// entity.
  void End() {
    elements_[open_.back()].EndLine = positions_.Of(Offset()).Line;
    open_.pop_back();
  }

  /// Reads the attributes of a well-formed start tag from behind the element's name.
  void ReadTag(ElementSource& element, std::size_t at) {
    while (true) {
      at = bytes_.find_first_not_of(kBlanks, at);
      if (at == std::string::npos || bytes_[at] == '>' || bytes_[at] == '/') return;
      AttributeSource attribute;
      attribute.NameAt = positions_.Of(at);
      const std::size_t nameEnd = std::min(bytes_.find_first_of(" \t\r\n=", at), bytes_.size());
      attribute.Name = bytes_.substr(at, nameEnd - at);
      const std::size_t quote = bytes_.find_first_of("\"'", nameEnd);
      if (quote == std::string::npos) return;
      attribute.ValueOffset = quote + 1;
      attribute.ValueAt = positions_.Of(quote + 1);
      element.Attributes.push_back(std::move(attribute));
      at = bytes_.find(bytes_[quote], quote + 1);
      if (at == std::string::npos) return;
      ++at;
    }
  }

  const std::string& bytes_;
  Positions positions_;
  std::unique_ptr<XML_ParserStruct, FreeParser> parser_;
  std::vector<ElementSource> elements_;
  std::vector<std::size_t> open_;  ///< elements that have not ended, the innermost last
};

/// The next node in document order, null at the end.
const xmlNode* NextNode(const xmlNode* node) {
  if (node->children != nullptr && node->type == XML_ELEMENT_NODE) return node->children;
  while (node != nullptr && node->next == nullptr)
    node = node->parent;
  return node == nullptr ? nullptr : node->next;
}

}  // namespace

SourceMap::SourceMap(const std::string& bytes) : elements_(MapBuilder(bytes).Build()) {}

SourcePosition SourceMap::PositionOf(const xmlNode* element) const {
  std::size_t index = 0;
  const xmlNode* node = xmlDocGetRootElement(element->doc);
  for (; node != nullptr && node != element; node = NextNode(node))
    if (node->type == XML_ELEMENT_NODE) ++index;
  if (node == nullptr || index >= elements_.size()) {
    return {static_cast<int>(xmlGetLineNo(element)), 0};
  }
  return elements_[index].At;
}

}  // namespace tools
