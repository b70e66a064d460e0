#include "kaCaseCheck.h"

#include <algorithm>
#include <iterator>
#include <span>
#include <utility>

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

bool Combine(int combination, std::ptrdiff_t trueCount, std::ptrdiff_t count) {
  switch (combination) {
    case CkaCases::_CS_AND:
      return trueCount == count;
    case CkaCases::_CS_OR:
      return trueCount > 0;
    case CkaCases::_CS_NOR:
      return trueCount == 0;
    case CkaCases::_CS_NAND:
      return trueCount < count;
    default:
      return false;
  }
}

}  // namespace

CkaCaseCheck::CkaCaseCheck()
    : bIsInitialized(false),
      CaseFormat(nullptr),
      RBLContent(nullptr),
      GivenIndex(nullptr),
      FirstResult(0),
      bIsComplete(false) {
  _KA_THISCLASS_MSG_ID = 11000;
}

bool CkaCaseCheck::Initialize(CkaCases* cases, CkaRBLDataContent* content,
                              const kaCaseIndex* index) {
  CaseFormat = cases;
  RBLContent = content;
  GivenIndex = index;
  bIsComplete = false;
  return true;
}

int CkaCaseCheck::CheckForRow(int row) {
  const kaJoinedOutput joined;
  if (GivenIndex == nullptr) OwnIndex = kaCaseIndex(*CaseFormat);
  const int count = CaseFormat->GetCaseCount();
  FirstResult = SimpleCases.size();
  bIsComplete = false;
  SimpleCases.reserve(FirstResult + static_cast<std::size_t>(count));
  bool result = false;
  for (int i = 0; i < count; ++i) {
    result = EvaluateCase(row, i, result);
    SimpleCases.push_back({CaseFormat->GetCaseAt(i).Id, result});
  }
  bIsComplete = true;
  return 0;
}

bool CkaCaseCheck::IsCaseTrue(const std::string& name) const {
  if (bIsComplete) {
    const std::optional<std::size_t> position = Index().Find(name);
    if (position) return SimpleCases[FirstResult + *position].bIsTrue;
  }
  // Results of an earlier check, or of one that was given up, are in no index.
  const auto others = std::span(SimpleCases).first(bIsComplete ? FirstResult : SimpleCases.size());
  const auto found = std::find_if(others.rbegin(), others.rend(),
                                  [&name](const auto& result) { return result.Name == name; });
  return found != others.rend() && found->bIsTrue;
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
      return EvaluateOperation(row, caseIndex);
    default:
      return previous;
  }
}

/// CheckOperationForRow without a search where every reference is one to a case before.
bool CkaCaseCheck::EvaluateOperation(int row, int caseIndex) const {
  const auto references = Index().ReferencesOf(static_cast<std::size_t>(caseIndex));
  if (references.empty()) return CheckOperationForRow(row, caseIndex);
  const auto trueCount = std::count_if(
      references.begin(), references.end(),
      [this](std::size_t position) { return SimpleCases[FirstResult + position].bIsTrue; });
  return Combine(CaseFormat->GetOperatorAt(caseIndex), trueCount, std::ssize(references));
}

std::optional<std::string> CkaCaseCheck::PartUnderTest(int row, int caseIndex) const {
  const CkaCases::kaCaseStruct& record = CaseFormat->GetCaseAt(caseIndex);
  const std::string text = RBLContent->GetValue(row, record.FirstValRef);
  const int length = static_cast<int>(text.size());
  const bool upToEnd = record.End == -1;
  if (!upToEnd && (record.Begin > record.End || record.End >= length)) return std::nullopt;

  // A begin outside the text, which also a negative one is, throws.
  const auto from = static_cast<std::size_t>(record.Begin);
  return upToEnd ? text.substr(from)
                 : text.substr(from, static_cast<std::size_t>(record.End) - from + 1);
}

bool CkaCaseCheck::CheckSubstrForRow(int row, int caseIndex) const {
  const CkaCases::kaCaseStruct& record = CaseFormat->GetCaseAt(caseIndex);
  const std::optional<std::string> part = PartUnderTest(row, caseIndex);
  if (!part) return false;
  switch (record.TreatAs) {
    case CkaCases::_CST_NUMBER:
      return CompareNumbers(record.Operator, LeadingInteger(*part),
                            LeadingInteger(record.SecondVal));
    case CkaCases::_CST_STRING:
      return CompareTexts(record.Operator, *part, record.SecondVal);
    default:
      return false;
  }
}

bool CkaCaseCheck::CheckStrlenForRow(int row, int caseIndex) const {
  const CkaCases::kaCaseStruct& record = CaseFormat->GetCaseAt(caseIndex);
  const int length = static_cast<int>(RBLContent->ViewValue(row, record.FirstValRef).size());
  const int reference = LeadingInteger(record.SecondVal);
  // Always ">", whatever the operator: integrators search the output for this line.
  PrintOut({"Platform case : ", std::to_string(length), " > ", std::to_string(reference), "\n"});
  return CompareNumbers(record.Operator, length, reference);
}

bool CkaCaseCheck::CheckOperationForRow(int /*row*/, int caseIndex) const {
  const CkaCases::kaCaseStruct& record = CaseFormat->GetCaseAt(caseIndex);
  if (record.CaseRefs.empty()) return false;
  const auto trueCount =
      std::count_if(record.CaseRefs.begin(), record.CaseRefs.end(),
                    [this](const std::string& name) { return IsCaseTrue(name); });
  return Combine(record.Operator, trueCount, std::ssize(record.CaseRefs));
}
