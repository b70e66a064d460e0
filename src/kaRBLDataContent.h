#ifndef KA_RBL_DATA_CONTENT_H
#define KA_RBL_DATA_CONTENT_H

#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "kaNavigateXML.h"

/// The rows of one received data block: the "row" children of its root, each an ordered list of
/// attributes. One object per block.
class CkaRBLDataContent : public CkaNavigateXML {
 public:
  struct kaRBLAttribute {
    std::string Name;
    std::string Value;
  };

  struct kaRBLRow {
    std::vector<kaRBLAttribute> Values;
  };

  CkaRBLDataContent();

  /// Reads the rows of the loaded block. Always true.
  bool ReadContent();

  int GetRowCount() const;
  /// Value of attribute `name` of row `row`, "" if there is no such row or attribute.
  /// \throws std::out_of_range for a negative row.
  std::string GetValue(int row, const std::string& name) const;
  /// The same without a copy; it lives as long as the rows stay as they are.
  std::string_view ViewValue(int row, const std::string& name) const;

  void SetMainNodes();
  bool ReadRows();

  xmlpp::Node* pRootNode;
  std::vector<kaRBLRow> Rows;

 private:
  void AppendRow(xmlpp::Node* node);

  /// Per row, the position of each name in its Values.
  std::vector<std::unordered_map<std::string, std::size_t>> PositionsByName;
};

#endif
