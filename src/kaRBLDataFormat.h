#ifndef KA_RBL_DATA_FORMAT_H
#define KA_RBL_DATA_FORMAT_H

#include <string>
#include <unordered_map>
#include <vector>

#include "kaNavigateXML.h"

/// Reads "RBLFormat" of the section "Assembly" of the announcement document: how many rows a data
/// block may have, which attributes a row carries and what they are assigned to.
class CkaRBLDataFormat : public CkaNavigateXML {
 public:
  struct Attribute {
    std::string Name;      ///< as it stands on the rows
    std::string AssignTo;  ///< id of the element that speaks it
    bool bRequired = false;
  };

  CkaRBLDataFormat();

  /// Reads the section. False, with a message, if the least number of rows is above the largest.
  /// \throws std::out_of_range if the document has no Assembly or no RBLFormat.
  bool ReadAssembly();

  int GetAttributeCount() const;
  /// "" from the end of the list on.
  /// \throws std::out_of_range for a negative index, as the next two.
  std::string GetAttributeNameAt(int i) const;
  std::string GetAttributeAssignAt(int i) const;
  bool IsAttributeRequiredAt(int i) const;
  /// Index of the last attribute assigned to `id`, -1 if there is none.
  int FindAssignedAttribute(const std::string& id) const;

  unsigned int GetMinRows() const;
  unsigned int GetMaxRows() const;

  void SetMainNodes();
  bool GetRBLFormatData();

  xmlpp::Node* pRootNode;
  xmlpp::Node* pAssemNode;
  std::string RootName;
  std::string DataName;
  unsigned int nminRows;
  unsigned int nmaxRows;
  std::vector<Attribute> Attributes;

 private:
  void AppendAttribute(xmlpp::Node* node);
  const Attribute* FindAttribute(int i) const;

  std::unordered_map<std::string, int> IndexByAssignment;
};

#endif
