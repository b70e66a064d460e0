#include "kaCaseCheck.h"

#include <algorithm>

#include "kaCases.h"
#include "kaOutput.h"
#include "kaRBLDataContent.h"

namespace {

bool CompareNumbers(int comparison, int left, int right) {
  switch (comparison) {
    case CkaCases::_CSO_LT:
      return left < right;
    case CkaCases::_CSO_GT:
      return left > right;
    case CkaCases::_CSO_LE:
      return left <= right;
    case CkaCases::_CSO_GE:
      return left >= right;
    case CkaCases::_CSO_NE:
      return left != right;
    case CkaCases::_CSO_EQ:
      return left == right;
    default:
      return false;
  }
}

/// Announcement documents give several characters to "has" and mean any one of them.
bool HasAnyCharacter(const std::string& text, const std::string& characters) {
  return text.find_first_of(characters) != std::string::npos;
}

bool CompareTexts(int comparison, const std::string& left, const std::string& right) {
  switch (comparison) {
    case CkaCases::_CSO_NE:
      return left != right;
    case CkaCases::_CSO_EQ:
      return left == right;
    case CkaCases::_CSO_HAS:
      return HasAnyCharacter(left, right);
    case CkaCases::_CSO_HASNOT:
      return !HasAnyCharacter(left, right);
    default:
      return false;
  }
}

bool Combine(int combination, const std::vector<bool>& results) {
  const auto trueCount = std::count(results.begin(), results.end(), true);
  const bool all = trueCount == static_cast<std::ptrdiff_t>(results.size());
  switch (combination) {
    case CkaCases::_CS_AND:
      return all;
    case CkaCases::_CS_OR:
      return trueCount > 0;
    case CkaCases::_CS_NOR:
      return trueCount == 0;
    case CkaCases::_CS_NAND:
      return !all;
    default:
      return false;
  }
}

}  // namespace

CkaCaseCheck::CkaCaseCheck() : bIsInitialized(false), CaseFormat(nullptr), RBLContent(nullptr) {
  _KA_THISCLASS_MSG_ID = 11000;
}

bool CkaCaseCheck::Initialize(CkaCases* cases, CkaRBLDataContent* content) {
  CaseFormat = cases;
  RBLContent = content;
  return true;
}

int CkaCaseCheck::CheckForRow(int row) {
  bool result = false;
  for (int i = 0; i < CaseFormat->GetCaseCount(); ++i) {
    const std::string name = CaseFormat->GetIdAt(i);
    result = EvaluateCase(row, i, result);
    SimpleCases.push_back({name, result});
    ResultsByName[name] = result;
  }
  return 0;
}

bool CkaCaseCheck::IsCaseTrue(const std::string& name) const {
  const auto result = ResultsByName.find(name);
  return result != ResultsByName.end() && result->second;
}

bool CkaCaseCheck::IsCaseTrue(const char* name) const {
  return IsCaseTrue(std::string(name));
}

bool CkaCaseCheck::IsCaseTrue(char* name) const {
  return IsCaseTrue(std::string(name));
}

bool CkaCaseCheck::EvaluateCase(int row, int caseIndex, bool previous) const {
  switch (CaseFormat->GetTypeAt(caseIndex)) {
    case CkaCases::_CS_SUBSTR:
      return CheckSubstrForRow(row, caseIndex);
    case CkaCases::_CS_STRLEN:
      return CheckStrlenForRow(row, caseIndex);
    case CkaCases::_CS_OPERATION:
      return CheckOperationForRow(row, caseIndex);
    default:
      return previous;
  }
}

bool CkaCaseCheck::CheckSubstrForRow(int row, int caseIndex) const {
  const std::string text = RBLContent->GetValue(row, CaseFormat->GetFirstValRefAt(caseIndex));
  const int begin = CaseFormat->GetBeginAt(caseIndex);
  const int end = CaseFormat->GetEndAt(caseIndex);
  const int length = static_cast<int>(text.size());
  const bool upToEnd = end == -1;
  if (!upToEnd && (begin > end || end >= length)) return false;

  // A begin outside the text, which also a negative one is, throws: the block is then given up.
  const auto from = static_cast<std::size_t>(begin);
  const std::string part =
      upToEnd ? text.substr(from) : text.substr(from, static_cast<std::size_t>(end) - from + 1);

  const std::string value = CaseFormat->GetSecondValAt(caseIndex);
  const int comparison = CaseFormat->GetOperatorAt(caseIndex);
  switch (CaseFormat->GetTreatAsAt(caseIndex)) {
    case CkaCases::_CST_NUMBER:
      return CompareNumbers(comparison, LeadingInteger(part), LeadingInteger(value));
    case CkaCases::_CST_STRING:
      return CompareTexts(comparison, part, value);
    default:
      return false;
  }
}

bool CkaCaseCheck::CheckStrlenForRow(int row, int caseIndex) const {
  const std::string text = RBLContent->GetValue(row, CaseFormat->GetFirstValRefAt(caseIndex));
  const int length = static_cast<int>(text.size());
  const int reference = LeadingInteger(CaseFormat->GetSecondValAt(caseIndex));
  // Always ">", whatever the operator: integrators search the output for this line.
  PrintOut("Platform case : " + std::to_string(length) + " > " + std::to_string(reference) + "\n");
  return CompareNumbers(CaseFormat->GetOperatorAt(caseIndex), length, reference);
}

bool CkaCaseCheck::CheckOperationForRow(int /*row*/, int caseIndex) const {
  const std::vector<std::string> refs = CaseFormat->GetCaseRefsAt(caseIndex);
  if (refs.empty()) return false;
  std::vector<bool> results;
  std::transform(refs.begin(), refs.end(), std::back_inserter(results),
                 [this](const std::string& name) { return IsCaseTrue(name); });
  return Combine(CaseFormat->GetOperatorAt(caseIndex), results);
}
