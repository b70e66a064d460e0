#include "check/document_index.h"

#include <algorithm>
#include <array>
#include <iterator>

namespace tools {

namespace {

constexpr std::string_view kSharedLanguage = "all";

std::vector<const Element*> ChildrenOf(const Element* parent, std::string_view name) {
  return parent == nullptr ? std::vector<const Element*>() : parent->ChildrenCalled(name);
}

bool IsShared(const Element* language) {
  return language->Value("name") == kSharedLanguage;
}

}  // namespace

std::vector<const Element*> NamedLanguages(const Document& document) {
  std::vector<const Element*> languages = ChildrenOf(document.References(), "Language");
  std::erase_if(languages, IsShared);
  return languages;
}

const Element* SharedLanguage(const Document& document) {
  const std::vector<const Element*> languages = ChildrenOf(document.References(), "Language");
  const auto last = std::find_if(languages.rbegin(), languages.rend(), IsShared);
  return last == languages.rend() ? nullptr : *last;
}

std::vector<const Element*> SpokenLanguages(const Document& document) {
  return ChildrenOf(document.Assembly(), "Language");
}

bool MayHaveTrait(const Element& element, std::string_view trait) {
  const std::string word = element.Value("trait");
  const bool isKnown = word == "steady" || word == "sound" || word == "temp";
  return word == trait || !isKnown;
}

std::vector<const Element*> RowAttributes(const Document& document) {
  return ChildrenOf(document.Format(), "Attribute");
}

std::vector<const Element*> Cases(const Document& document) {
  return ChildrenOf(document.Assembly(), "Case");
}

std::vector<Phrase> PhrasesOf(const Element& announcement) {
  std::vector<Phrase> phrases;
  for (const Element* child : announcement.Children) {
    if (child->bLastNode) continue;
    // Here, and only here, an element is known by its name alone, whatever its namespace.
    if (child->Name == "Speech") phrases.push_back({child, nullptr});
    if (child->Name != "Condition") continue;
    for (const Element* speech : child->ChildrenCalled("Speech"))
      phrases.push_back({speech, child});
  }
  return phrases;
}

std::vector<Phrase> PhrasesOfLanguage(const Element& language) {
  std::vector<Phrase> phrases;
  for (const Element* announcement : language.ChildrenCalled("Announcement")) {
    const std::vector<Phrase> more = PhrasesOf(*announcement);
    phrases.insert(phrases.end(), more.begin(), more.end());
  }
  return phrases;
}

std::string_view TestOf(const Element& caseElement) {
  if (caseElement.Has("substr")) return "substr";
  return caseElement.Has("strlen") ? "strlen" : "";
}

std::string TestedAttribute(const Element& caseElement) {
  return caseElement.Value(TestOf(caseElement));
}

bool ComparesTexts(const Element& test) {
  const std::string type = test.Value("type");
  return TestOf(test) == "substr" && (type == "string" || type == "String");
}

bool IsAcceptedTest(const Element& test) {
  constexpr std::array<std::string_view, 6> kComparisons = {"lt", "gt", "le", "ge", "ne", "eq"};
  const std::string word = test.Value("operator");
  if (word == "has" || word == "hasnot") return ComparesTexts(test);
  return std::find(kComparisons.begin(), kComparisons.end(), word) != kComparisons.end();
}

bool IsYes(std::string_view word) {
  constexpr std::array<std::string_view, 7> kYes = {"YES",  "Yes",  "yes", "true",
                                                    "TRUE", "True", "1"};
  return std::find(kYes.begin(), kYes.end(), word) != kYes.end();
}

std::set<std::string> RequiredAttributes(const Document& document) {
  std::set<std::string> required;
  for (const Element* attribute : RowAttributes(document))
    if (IsYes(attribute->Value("musthavevalue"))) required.insert(attribute->Value("name"));
  return required;
}

std::size_t CharacterCount(std::string_view text) {
  return text.size() -
         static_cast<std::size_t>(std::count_if(text.begin(), text.end(), IsInsideCharacter));
}

bool IsAscii(std::string_view text) {
  return CharacterCount(text) == text.size();
}

Place PlaceOf(const Document& document, const Element& element) {
  return {document.File(), element.At.Line, element.At.Column};
}

Place PlaceOf(const Document& document, const Element& element, std::string_view attribute) {
  const SourcePosition at = element.ValueAt(attribute);
  return {document.File(), at.Line, at.Column};
}

}  // namespace tools
