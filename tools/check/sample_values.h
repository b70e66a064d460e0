#ifndef KA_TOOLS_SAMPLE_VALUES_H
#define KA_TOOLS_SAMPLE_VALUES_H

#include <span>
#include <string>
#include <unordered_map>
#include <vector>

#include "common/document.h"
#include "common/station.h"

namespace tools {

/// A text that stands at a known position of a value.
struct PlacedText {
  std::string Text;
  int Position = 0;                 ///< byte of the value, from 0
  const Element* Source = nullptr;  ///< the case that compares with it; null for a sample block
};

/// What a station tells about the values with characters of several bytes that attributes of rows
/// have: its sample blocks (blocks/*.xml beside the document), the values that cases compare with,
/// and the words of the lexica that values go through.
class SampleValues {
 public:
  SampleValues(const Station& station, const Document& document);

  /// Texts with such characters in values of `attribute`, as far as their position is known.
  std::span<const PlacedText> Of(const std::string& attribute) const;
  /// Such a value or a part of one; null if none is known.
  const std::string* WithWideCharacters(const std::string& attribute) const;

 private:
  void Add(const std::string& attribute, PlacedText text);
  void AddBlocks(const std::string& directory);
  void AddCases(const Document& document);
  void AddLexica(const Station& station, const Document& document);
  void AddLexicon(const std::string& attribute, const std::string& file);

  std::unordered_map<std::string, std::vector<PlacedText>> texts_;
  std::unordered_map<std::string, std::string> examples_;
};

}  // namespace tools

#endif
