#ifndef KA_TESTS_TOOLS_STATION_MODEL_H
#define KA_TESTS_TOOLS_STATION_MODEL_H

#include <libxml/tree.h>

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace toolstest {

struct FreeXml {
  void operator()(xmlDoc* document) const { xmlFreeDoc(document); }
};
using XmlTree = std::unique_ptr<xmlDoc, FreeXml>;

/// The tree of a text; null if it is no well-formed XML.
XmlTree ParseXml(const std::string& text);

/// The number that a text begins with, 0 if it begins with none.
int NumberOf(const std::string& text);

/// An independent reading of announcement documents and data blocks, straight from their XML: it
/// shares no code with the server and is written for tests, one element at a time.
class StationModel {
 public:
  using Row = std::map<std::string, std::string>;

  struct Phrase {
    std::string Element;
    std::string Lexicon;
    std::string Prefix;
    std::string Suffix;
    std::string Condition;
  };
  struct Announcement {
    int Position = 0;
    int PositionMax = 0;
    std::vector<Phrase> Phrases;
  };
  struct Language {
    std::string Name;
    std::string Prefix;
    std::vector<Announcement> Announcements;
  };
  struct Case {
    std::string Id;
    std::map<std::string, std::string> Words;  ///< its attributes
    std::vector<std::string> References;
    bool bSimple = false;
    int Line = 0;
  };
  struct Attribute {
    std::string Name;
    std::string Element;
    bool bRequired = false;
  };

  explicit StationModel(const std::string& document);

  /// Whether a server with the document opens its ports.
  bool IsUsable() const { return isUsable_; }
  const std::vector<Language>& Languages() const { return languages_; }
  const std::vector<Attribute>& Attributes() const { return attributes_; }
  unsigned int MinRows() const { return minRows_; }
  unsigned int MaxRows() const { return maxRows_; }
  std::size_t ReferencedLanguages() const { return traits_.size(); }

  static std::vector<Row> RowsOf(const XmlTree& block);
  /// "steady", "sound" or "temp", "" if the language has no such element.
  std::string TraitOf(const std::string& language, const std::string& element) const;
  /// Row attribute assigned to an element, "" if there is none.
  std::string AttributeOf(const std::string& element) const;

  /// The case that a name means; null if there is none.
  const Case* Find(const std::string& name) const;
  /// The first case that looks behind the end of its value: the block is given up.
  const Case* FindFailing(const Row& row) const;
  bool Holds(const std::string& name, const Row& row) const;
  /// The part of the value that a case on a part looks at; none if the value does not reach.
  static std::optional<std::string> PartOf(const Case& c, const Row& row);

 private:
  void ReadReferences(const xmlNode* references);
  void ReadFormat(const xmlNode* format);
  void ReadLanguages(const xmlNode* assembly);
  void ReadCases(const xmlNode* assembly);
  static bool SimpleHolds(const Case& c, const Row& row);

  bool isUsable_ = true;
  /// For each language of the references its name and its elements' traits.
  std::vector<std::pair<std::string, std::map<std::string, std::string>>> traits_;
  std::vector<Language> languages_;
  std::vector<Attribute> attributes_;
  unsigned int minRows_ = 0;
  unsigned int maxRows_ = 0;
  std::vector<Case> cases_;
};

}  // namespace toolstest

#endif
