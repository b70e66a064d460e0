#ifndef KA_TOOLS_DOCUMENT_INDEX_H
#define KA_TOOLS_DOCUMENT_INDEX_H

#include <cstddef>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "common/document.h"
#include "common/finding.h"

namespace tools {

/// A phrase that the server reads.
struct Phrase {
  const Element* Speech;
  const Element* Condition;  ///< null for one that is always spoken
};

/// The languages of References, without the shared ones.
std::vector<const Element*> NamedLanguages(const Document& document);
/// The shared language of References that counts, the last; null if there is none.
const Element* SharedLanguage(const Document& document);
/// The languages of Assembly.
std::vector<const Element*> SpokenLanguages(const Document& document);
/// Whether an element has a trait. An unknown word, which another rule tells of, may mean any.
bool MayHaveTrait(const Element& element, std::string_view trait);
/// The attributes that a row may carry.
std::vector<const Element*> RowAttributes(const Document& document);
/// The cases, without those inside other cases.
std::vector<const Element*> Cases(const Document& document);
/// The phrases of an announcement. The server never looks at the last node.
std::vector<Phrase> PhrasesOf(const Element& announcement);
/// The phrases of all announcements of a language of Assembly.
std::vector<Phrase> PhrasesOfLanguage(const Element& language);

/// "substr" or "strlen" for a case that looks at an attribute's value, "" for a combination.
std::string_view TestOf(const Element& caseElement);
/// The row attribute that a case looks at, "" for a combination.
std::string TestedAttribute(const Element& caseElement);

/// Whether a test compares texts.
bool ComparesTexts(const Element& test);
/// Whether the server keeps a test of a value. One that it rejects looks at no value.
bool IsAcceptedTest(const Element& test);

/// Whether a word of the document means yes, as the server reads it.
bool IsYes(std::string_view word);
/// The row attributes that every block must give a value.
std::set<std::string> RequiredAttributes(const Document& document);

/// Characters of a text in UTF-8.
std::size_t CharacterCount(std::string_view text);
/// Whether the byte is the second or a further one of a character in UTF-8.
constexpr bool IsInsideCharacter(char byte) {
  return (static_cast<unsigned char>(byte) & 0xC0U) == 0x80U;
}
/// Whether all characters are of one byte.
bool IsAscii(std::string_view text);

/// Where an element, or the value of one of its attributes, stands.
Place PlaceOf(const Document& document, const Element& element);
Place PlaceOf(const Document& document, const Element& element, std::string_view attribute);

}  // namespace tools

#endif
