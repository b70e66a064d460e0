#include "preview/case_reason.h"

#include <array>

namespace tools {

namespace {

/// Cases that are combined more deeply are given by their result alone.
constexpr int kDeepest = 40;

template <std::size_t N>
std::string WordAt(const std::array<const char*, N>& words, int index) {
  return index < 0 || index >= static_cast<int>(N) ? "" : words[static_cast<std::size_t>(index)];
}

CaseReason::Kind KindOf(int type) {
  switch (type) {
    case CkaCases::_CS_SUBSTR:
      return CaseReason::Kind::Part;
    case CkaCases::_CS_STRLEN:
      return CaseReason::Kind::Length;
    default:
      return CaseReason::Kind::Combination;
  }
}

}  // namespace

std::string ComparisonWord(int comparison) {
  constexpr std::array kWords = {"lt", "gt", "le", "ge", "ne", "eq", "has", "hasnot"};
  return WordAt(kWords, comparison);
}

std::string CombinationWord(int combination) {
  constexpr std::array kWords = {"AND", "OR", "NOR", "NAND"};
  return WordAt(kWords, combination - CkaCases::_CS_AND);
}

CaseReasons::CaseReasons(const CkaCases& cases, const Document& document) : cases_(cases) {
  if (const Element* assembly = document.Assembly()) {
    for (const Element* element : assembly->ChildrenCalled("Case"))
      lines_.push_back(element->At.Line);
  }
  for (std::size_t i = 0; i < cases.SortedCases.size(); ++i)
    index_[cases.SortedCases[i].Id] = i;
}

CaseReason CaseReasons::Of(const std::string& name, const CkaCaseCheck& checked,
                           const CkaRBLDataContent& content, int row) const {
  Walk walk{checked, content, row, {}};
  return Reason(name, walk);
}

CaseReason CaseReasons::OfFailure(const CkaCaseCheck& checked, const CkaRBLDataContent& content,
                                  int row) const {
  // The results end in front of the case that failed.
  return Describe(checked.SimpleCases.size(), content, row);
}

CaseReason CaseReasons::Reason(const std::string& name, Walk& walk) const {
  const auto found = index_.find(name);
  if (found == index_.end()) {
    CaseReason missing;
    missing.Name = name;
    return missing;
  }
  const std::size_t index = found->second;
  CaseReason reason = Describe(index, walk.Content, walk.Row);
  reason.bHolds = walk.Checked.SimpleCases.at(index).bIsTrue;
  if (reason.What == CaseReason::Kind::Part) {
    reason.Part = walk.Checked.PartUnderTest(walk.Row, static_cast<int>(index));
  }
  if (reason.What == CaseReason::Kind::Combination) AddCases(reason, index, walk);
  return reason;
}

CaseReason CaseReasons::Describe(std::size_t index, const CkaRBLDataContent& content,
                                 int row) const {
  CaseReason reason;
  reason.Case = cases_.SortedCases.at(index);
  reason.Name = reason.Case.Id;
  reason.What = KindOf(reason.Case.Type);
  if (reason.Case.Element < lines_.size()) reason.Line = lines_[reason.Case.Element];
  if (reason.What != CaseReason::Kind::Combination) {
    reason.Value = content.GetValue(row, reason.Case.FirstValRef);
  }
  return reason;
}

void CaseReasons::AddCases(CaseReason& reason, std::size_t index, Walk& walk) const {
  reason.bAbridged = walk.Depth >= kDeepest || !walk.Shown.insert(index).second;
  if (reason.bAbridged) return;
  ++walk.Depth;
  for (const std::string& name : reason.Case.CaseRefs)
    reason.Cases.push_back(Reason(name, walk));
  --walk.Depth;
}

}  // namespace tools
