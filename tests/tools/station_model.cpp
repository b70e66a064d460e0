#include "station_model.h"

#include <libxml/parser.h>
#include <libxml/xmlerror.h>

#include <algorithm>
#include <cstdlib>
#include <set>

namespace toolstest {

namespace {

void DropError(void* /*context*/, xmlErrorPtr /*error*/) {}

std::string Text(const xmlChar* text) {
  return text == nullptr ? "" : reinterpret_cast<const char*>(text);
}

bool HasWord(const xmlNode* node, const char* name) {
  return xmlHasNsProp(const_cast<xmlNode*>(node), reinterpret_cast<const xmlChar*>(name),
                      nullptr) != nullptr;
}

/// An attribute's value, with the escape character for backslash and e.
std::string Word(const xmlNode* node, const char* name) {
  xmlChar* value =
      xmlGetNoNsProp(const_cast<xmlNode*>(node), reinterpret_cast<const xmlChar*>(name));
  const std::string raw = Text(value);
  xmlFree(value);
  std::string word;
  for (std::size_t i = 0; i < raw.size(); ++i) {
    const bool isEscape = raw[i] == '\\' && i + 1 < raw.size() && raw[i + 1] == 'e';
    word += isEscape ? '\x1b' : raw[i];
    if (isEscape) ++i;
  }
  return word;
}

bool IsCalled(const xmlNode* node, const char* name) {
  return node->type == XML_ELEMENT_NODE && Text(node->name) == name;
}

std::vector<const xmlNode*> Children(const xmlNode* parent, const char* name) {
  std::vector<const xmlNode*> found;
  for (const xmlNode* child = parent->children; child != nullptr; child = child->next)
    if (IsCalled(child, name) && child->ns == nullptr) found.push_back(child);
  return found;
}

const xmlNode* FirstChild(const xmlNode* parent, const char* name) {
  const auto found = Children(parent, name);
  return found.empty() ? nullptr : found.front();
}

bool IsOneOf(const std::string& word, const std::set<std::string>& words) {
  return words.contains(word);
}

StationModel::Phrase ReadPhrase(const xmlNode* speech, const std::string& condition) {
  return {Word(speech, "id"), Word(speech, "lexicon"), Word(speech, "prefix"),
          Word(speech, "suffix"), condition};
}

/// Everything but the last node counts, and of a condition its speeches.
std::vector<StationModel::Phrase> ReadPhrases(const xmlNode* announcement) {
  std::vector<StationModel::Phrase> phrases;
  for (const xmlNode* child = announcement->children; child != nullptr && child->next != nullptr;
       child = child->next) {
    if (IsCalled(child, "Speech")) phrases.push_back(ReadPhrase(child, ""));
    if (!IsCalled(child, "Condition")) continue;
    for (const xmlNode* speech : Children(child, "Speech"))
      phrases.push_back(ReadPhrase(speech, Word(child, "name")));
  }
  return phrases;
}

bool CompareNumbers(const std::string& word, int a, int b) {
  return (word == "lt" && a < b) || (word == "gt" && a > b) || (word == "le" && a <= b) ||
         (word == "ge" && a >= b) || (word == "ne" && a != b) || (word == "eq" && a == b);
}

bool SharesCharacter(const std::string& a, const std::string& b) {
  return std::any_of(a.begin(), a.end(),
                     [&b](char c) { return std::find(b.begin(), b.end(), c) != b.end(); });
}

bool CompareTexts(const std::string& word, const std::string& a, const std::string& b) {
  return (word == "eq" && a == b) || (word == "ne" && a != b) ||
         (word == "has" && SharesCharacter(a, b)) || (word == "hasnot" && !SharesCharacter(a, b));
}

bool IsNumberType(const std::string& word) {
  return IsOneOf(word, {"number", "Number"});
}

bool IsTextType(const std::string& word) {
  return IsOneOf(word, {"string", "String"});
}

std::string At(const std::map<std::string, std::string>& words, const std::string& name) {
  const auto found = words.find(name);
  return found == words.end() ? "" : found->second;
}

}  // namespace

XmlTree ParseXml(const std::string& text) {
  xmlParserCtxt* context = xmlNewParserCtxt();
  xmlSetStructuredErrorFunc(nullptr, DropError);
  XmlTree tree(xmlCtxtReadMemory(context, text.data(), static_cast<int>(text.size()), nullptr,
                                 nullptr, XML_PARSE_NOENT | XML_PARSE_NONET));
  const xmlError* error = xmlCtxtGetLastError(context);
  if (error != nullptr && error->code != XML_ERR_OK) tree.reset();
  xmlSetStructuredErrorFunc(nullptr, nullptr);
  xmlFreeParserCtxt(context);
  return tree;
}

int NumberOf(const std::string& text) {
  return static_cast<int>(std::strtoll(text.c_str(), nullptr, 10));
}

StationModel::StationModel(const std::string& document) {
  const XmlTree tree = ParseXml(document);
  const xmlNode* root = tree ? xmlDocGetRootElement(tree.get()) : nullptr;
  const xmlNode* references = root == nullptr ? nullptr : FirstChild(root, "References");
  const xmlNode* assembly = root == nullptr ? nullptr : FirstChild(root, "Assembly");
  const xmlNode* format = assembly == nullptr ? nullptr : FirstChild(assembly, "RBLFormat");
  isUsable_ = references != nullptr && format != nullptr;
  if (!isUsable_) return;
  ReadReferences(references);
  ReadFormat(format);
  ReadLanguages(assembly);
  ReadCases(assembly);
}

void StationModel::ReadReferences(const xmlNode* references) {
  const xmlNode* shared = nullptr;
  const auto addElements = [this](const xmlNode* from, auto& traits) {
    for (const xmlNode* element : Children(from, "Element")) {
      const std::string trait = Word(element, "trait");
      if (!IsOneOf(trait, {"steady", "sound", "temp"})) isUsable_ = false;
      traits[Word(element, "id")] = trait;
    }
  };
  const auto languages = Children(references, "Language");
  if (languages.empty()) isUsable_ = false;
  for (const xmlNode* language : languages) {
    if (Word(language, "name") == "all") {
      shared = language;
      continue;
    }
    const auto voices = Children(language, "Voice");
    if (voices.empty()) isUsable_ = false;
    for (const xmlNode* voice : voices) {
      const std::string name = voice->children == nullptr ? "" : Text(voice->children->content);
      if (Word(voice, "sex").size() < 4 || name.size() < 2) isUsable_ = false;
    }
    addElements(
        language,
        traits_.emplace_back(Word(language, "name"), decltype(traits_)::value_type::second_type{})
            .second);
  }
  if (shared == nullptr) return;
  for (auto& [name, traits] : traits_)
    addElements(shared, traits);
}

void StationModel::ReadFormat(const xmlNode* format) {
  minRows_ = static_cast<unsigned int>(NumberOf(Word(format, "minrows")));
  maxRows_ = static_cast<unsigned int>(NumberOf(Word(format, "maxrows")));
  if (minRows_ > maxRows_) isUsable_ = false;
  for (const xmlNode* node : Children(format, "Attribute")) {
    const bool required =
        IsOneOf(Word(node, "musthavevalue"), {"YES", "Yes", "yes", "true", "TRUE", "True", "1"});
    attributes_.push_back({Word(node, "name"), Word(node, "assignto"), required});
  }
}

void StationModel::ReadLanguages(const xmlNode* assembly) {
  for (const xmlNode* node : Children(assembly, "Language")) {
    Language& language = languages_.emplace_back();
    language.Name = Word(node, "name");
    language.Prefix = Word(node, "generalprefix");
    for (const xmlNode* child : Children(node, "Announcement")) {
      Announcement& announcement = language.Announcements.emplace_back();
      announcement.Position = NumberOf(Word(child, "position"));
      announcement.PositionMax = NumberOf(Word(child, "positionMax"));
      if (announcement.PositionMax == 0) announcement.PositionMax = announcement.Position;
      announcement.Phrases = ReadPhrases(child);
    }
  }
}

void StationModel::ReadCases(const xmlNode* assembly) {
  std::vector<Case> combinations;
  std::set<std::string> known;
  for (const xmlNode* node : Children(assembly, "Case")) {
    Case c;
    c.Line = static_cast<int>(xmlGetLineNo(node));
    for (const char* word :
         {"id", "substr", "strlen", "type", "operator", "begin", "end", "value"}) {
      if (HasWord(node, word)) c.Words[word] = Word(node, word);
    }
    c.Id = At(c.Words, "id");
    for (const xmlNode* child : Children(node, "Case"))
      c.References.push_back(Word(child, "ref"));
    const std::string comparison = At(c.Words, "operator");
    const bool isPart = c.Words.contains("substr");
    const bool forNumbers = IsOneOf(comparison, {"lt", "gt", "le", "ge", "ne", "eq"});
    const bool forTexts =
        isPart && IsTextType(At(c.Words, "type")) && IsOneOf(comparison, {"has", "hasnot"});
    c.bSimple = (isPart || c.Words.contains("strlen")) && (forNumbers || forTexts);
    if (c.bSimple) known.insert(c.Id);
    (c.bSimple ? cases_ : combinations).push_back(c);
  }
  if (cases_.empty()) isUsable_ = false;
  // Rejected and accepted ones alike are looked at again; what is known by its name is left.
  for (bool added = true; added;) {
    added = false;
    for (const Case& c : combinations) {
      if (known.contains(c.Id)) continue;
      if (!std::all_of(c.References.begin(), c.References.end(),
                       [&known](const std::string& ref) { return known.contains(ref); })) {
        continue;
      }
      known.insert(c.Id);
      cases_.push_back(c);
      added = true;
    }
  }
}

std::vector<StationModel::Row> StationModel::RowsOf(const XmlTree& block) {
  std::vector<Row> rows;
  for (const xmlNode* node : Children(xmlDocGetRootElement(block.get()), "row")) {
    Row& row = rows.emplace_back();
    for (const xmlAttr* a = node->properties; a != nullptr; a = a->next)
      row[Text(a->name)] = Word(node, Text(a->name).c_str());
  }
  return rows;
}

std::string StationModel::TraitOf(const std::string& language, const std::string& element) const {
  // Of several languages of one name the last one counts.
  for (auto i = traits_.rbegin(); i != traits_.rend(); ++i)
    if (i->first == language) return At(i->second, element);
  return "";
}

std::string StationModel::AttributeOf(const std::string& element) const {
  std::string name;
  for (const Attribute& attribute : attributes_)
    if (attribute.Element == element) name = attribute.Name;
  return name;
}

const StationModel::Case* StationModel::Find(const std::string& name) const {
  const Case* found = nullptr;
  for (const Case& c : cases_)
    if (c.Id == name) found = &c;
  return found;
}

const StationModel::Case* StationModel::FindFailing(const Row& row) const {
  for (const Case& c : cases_) {
    if (!c.bSimple || !c.Words.contains("substr")) continue;
    const int size = static_cast<int>(At(row, At(c.Words, "substr")).size());
    const int begin = NumberOf(At(c.Words, "begin"));
    const int end = NumberOf(At(c.Words, "end"));
    const bool isLooked = end == -1 || (begin <= end && end < size);
    if (isLooked && (begin < 0 || begin > size)) return &c;
  }
  return nullptr;
}

bool StationModel::Holds(const std::string& name, const Row& row) const {
  const Case* c = Find(name);
  if (c == nullptr) return false;
  if (c->bSimple) return SimpleHolds(*c, row);
  const auto holding =
      std::count_if(c->References.begin(), c->References.end(),
                    [&](const std::string& reference) { return Holds(reference, row); });
  const auto all = static_cast<std::ptrdiff_t>(c->References.size());
  if (all == 0) return false;
  const std::string word = c->Words.contains("operator") ? At(c->Words, "operator") : "AND";
  return (word == "AND" && holding == all) || (word == "OR" && holding > 0) ||
         (word == "NOR" && holding == 0) || (IsOneOf(word, {"NOT", "NAND"}) && holding < all);
}

std::optional<std::string> StationModel::PartOf(const Case& c, const Row& row) {
  const std::string value = At(row, At(c.Words, "substr"));
  const int begin = NumberOf(At(c.Words, "begin"));
  const int end = NumberOf(At(c.Words, "end"));
  if (end != -1 && (begin > end || end >= static_cast<int>(value.size()))) return std::nullopt;
  std::string part;
  for (int i = begin; i < static_cast<int>(value.size()) && (end == -1 || i <= end); ++i)
    part += value[static_cast<std::size_t>(i)];
  return part;
}

bool StationModel::SimpleHolds(const Case& c, const Row& row) {
  const std::string word = At(c.Words, "operator");
  const std::string reference = At(c.Words, "value");
  if (!c.Words.contains("substr")) {
    const int size = static_cast<int>(At(row, At(c.Words, "strlen")).size());
    return CompareNumbers(word, size, NumberOf(reference));
  }
  const std::optional<std::string> part = PartOf(c, row);
  const std::string type = At(c.Words, "type");
  if (!part) return false;
  if (IsNumberType(type)) return CompareNumbers(word, NumberOf(*part), NumberOf(reference));
  return IsTextType(type) && CompareTexts(word, *part, reference);
}

}  // namespace toolstest
