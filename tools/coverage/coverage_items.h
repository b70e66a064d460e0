#ifndef KA_TOOLS_COVERAGE_ITEMS_H
#define KA_TOOLS_COVERAGE_ITEMS_H

#include <array>
#include <cstddef>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "common/document.h"
#include "common/finding.h"
#include "common/language.h"
#include "common/station.h"
#include "kaSpeechbuilder.h"

namespace tools {

/// Kinds of things that a block reaches. A case is two of them: that it holds, and that it does
/// not.
enum class ItemKind {
  Announcement,
  Phrase,
  CaseTrue,
  CaseFalse,
  Attribute,
  Element,
  LexiconEntry,
};

inline constexpr std::array kItemKinds = {
    ItemKind::Announcement, ItemKind::Phrase,  ItemKind::CaseTrue,    ItemKind::CaseFalse,
    ItemKind::Attribute,    ItemKind::Element, ItemKind::LexiconEntry};

/// Key of a kind in JSON, the same in every language.
std::string_view KeyOf(ItemKind kind);
/// A kind in the plural, for people.
std::string_view TitleOf(ItemKind kind, Language language);
/// One of a kind, for people.
std::string_view SingularOf(ItemKind kind, Language language);

/// One thing that a block may reach.
struct CoverageItem {
  ItemKind Kind = ItemKind::Announcement;
  std::string Name;
  Place Where;
  std::vector<int> Lines;  ///< what it takes up of the file, for the marks in the source
  std::size_t Hits = 0;
  int Language = -1;      ///< of an announcement or phrase: place in the server's list
  int Announcement = -1;  ///< of a phrase: the announcement's place in the language's list
  int Number = -1;        ///< place in the server's own list; -1: none
};

/// A lexicon file that values pass.
struct UsedLexicon {
  std::string Path;
  bool bExists = false;
  std::vector<std::size_t> Entries;  ///< items, in the order of the server's list
};

/// All that blocks can reach in the document and its lexica, and how it is found from what the
/// server tells about a text.
class CoverageItems {
 public:
  /// \param builder has read the document of `station`
  CoverageItems(const Station& station, const Document& document, const CkaSpeechbuilder& builder);

  std::vector<CoverageItem> All;
  std::vector<UsedLexicon> Lexica;  ///< in the order of their use in the document

  /// Items by the server's own numbers.
  std::vector<std::vector<std::size_t>> Announcements;  ///< by language and place
  std::vector<std::vector<std::vector<std::size_t>>>
      Phrases;                     ///< the same, and place of the phrase
  std::vector<std::size_t> Cases;  ///< that the case holds; the next item: that it does not
  std::vector<std::size_t> Attributes;
  /// The element that a language speaks for an id.
  const std::size_t* FindElement(const std::string& language, const std::string& id) const;
  const UsedLexicon* FindLexicon(const std::string& path) const;

 private:
  std::size_t Add(ItemKind kind, std::string name, const Element& element);
  void AddLanguages(const CkaSpeechGen& sequence);
  void AddAnnouncement(const Element& announcement, int language, int index,
                       const CkaSpeechGen::kaTTSAnnouncement& read);
  std::size_t AddPhrase(const Element& speech, int language, int announcement, int number);
  void AddCases(const CkaCases& cases);
  void AddCase(const Element& element, int number);
  void AddAttributes();
  void AddElements();
  void AddLexica(const Station& station, const CkaSpeechbuilder& builder);
  void AddLexicon(const std::string& path);

  const Document& document_;
  std::map<std::string, std::map<std::string, std::size_t>> elements_;
  std::map<std::string, std::size_t> lexicaByPath_;
};

}  // namespace tools

#endif
