#include "kaRBLDataContent.h"

#include <utility>

CkaRBLDataContent::CkaRBLDataContent() : pRootNode(nullptr) {
  _KA_THISCLASS_MSG_ID = 10400;
}

bool CkaRBLDataContent::ReadContent() {
  SetMainNodes();
  return ReadRows();
}

int CkaRBLDataContent::GetRowCount() const {
  return static_cast<int>(Rows.size());
}

std::string CkaRBLDataContent::GetValue(int row, const std::string& name) const {
  return std::string(ViewValue(row, name));
}

std::string_view CkaRBLDataContent::ViewValue(int row, const std::string& name) const {
  if (row >= GetRowCount()) return "";
  // A negative row becomes one far above the list and is out of range.
  const kaRBLRow& found = Rows.at(static_cast<std::size_t>(row));
  const auto& positions = PositionsByName.at(static_cast<std::size_t>(row));
  const auto position = positions.find(name);
  if (position == positions.end()) return "";
  return found.Values[position->second].Value;
}

void CkaRBLDataContent::SetMainNodes() {
  pRootNode = GetRootNode("\n");
}

bool CkaRBLDataContent::ReadRows() {
  for (xmlpp::Node* node : FindNodes(pRootNode, "row"))
    AppendRow(node);
  return true;
}

void CkaRBLDataContent::AppendRow(xmlpp::Node* node) {
  kaRBLRow& row = Rows.emplace_back();
  auto& positions = PositionsByName.emplace_back();
  for (auto& [name, value] : GetAttributes(node)) {
    positions.try_emplace(name, row.Values.size());
    row.Values.push_back({std::move(name), std::move(value)});
  }
}
