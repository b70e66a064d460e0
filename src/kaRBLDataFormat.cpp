#include "kaRBLDataFormat.h"

#include <algorithm>
#include <array>

#include "kaOutput.h"

namespace {

bool IsYes(const std::string& word) {
  constexpr std::array kYes = {"YES", "Yes", "yes", "true", "TRUE", "True", "1"};
  return std::find(kYes.begin(), kYes.end(), word) != kYes.end();
}

}  // namespace

CkaRBLDataFormat::CkaRBLDataFormat()
    : pRootNode(nullptr), pAssemNode(nullptr), nminRows(0), nmaxRows(0) {
  _KA_THISCLASS_MSG_ID = 10200;
}

bool CkaRBLDataFormat::ReadAssembly() {
  SetMainNodes();
  return GetRBLFormatData();
}

int CkaRBLDataFormat::GetAttributeCount() const {
  return static_cast<int>(Attributes.size());
}

std::string CkaRBLDataFormat::GetAttributeNameAt(int i) const {
  const Attribute* attribute = FindAttribute(i);
  return attribute == nullptr ? "" : attribute->Name;
}

std::string CkaRBLDataFormat::GetAttributeAssignAt(int i) const {
  const Attribute* attribute = FindAttribute(i);
  return attribute == nullptr ? "" : attribute->AssignTo;
}

bool CkaRBLDataFormat::IsAttributeRequiredAt(int i) const {
  const Attribute* attribute = FindAttribute(i);
  return attribute != nullptr && attribute->bRequired;
}

int CkaRBLDataFormat::FindAssignedAttribute(const std::string& id) const {
  const auto index = IndexByAssignment.find(id);
  return index == IndexByAssignment.end() ? -1 : index->second;
}

unsigned int CkaRBLDataFormat::GetMinRows() const {
  return nminRows;
}

unsigned int CkaRBLDataFormat::GetMaxRows() const {
  return nmaxRows;
}

void CkaRBLDataFormat::SetMainNodes() {
  pAssemNode = nullptr;
  pRootNode = GetRootNode();
  pAssemNode = GetRequiredChild(pRootNode, "Assembly");
}

bool CkaRBLDataFormat::GetRBLFormatData() {
  xmlpp::Node* format = GetRequiredChild(pAssemNode, "RBLFormat");
  if (format == nullptr) return false;
  nminRows = static_cast<unsigned int>(GetAttributeValueInt(format, "minrows"));
  nmaxRows = static_cast<unsigned int>(GetAttributeValueInt(format, "maxrows"));
  if (nminRows > nmaxRows) {
    PrintErr("Kleinster Zeilenanzahl Wert größer als Maximalwert! \n");
    return false;
  }
  for (xmlpp::Node* node : FindNodes(format, "Attribute"))
    AppendAttribute(node);
  return true;
}

void CkaRBLDataFormat::AppendAttribute(xmlpp::Node* node) {
  const Attribute& attribute = Attributes.emplace_back(
      Attribute{GetAttributeValue(node, "name"), GetAttributeValue(node, "assignto"),
                IsYes(GetAttributeValue(node, "musthavevalue"))});
  IndexByAssignment[attribute.AssignTo] = GetAttributeCount() - 1;
}

const CkaRBLDataFormat::Attribute* CkaRBLDataFormat::FindAttribute(int i) const {
  // A negative index becomes one far above the list and is out of range.
  return i >= GetAttributeCount() ? nullptr : &Attributes.at(static_cast<std::size_t>(i));
}
