#include "kaCaseCheck.h"

#include <algorithm>
#include <bit>
#include <functional>
#include <iterator>
#include <utility>

#include "kaCases.h"
#include "kaOutput.h"
#include "kaRBLDataContent.h"

namespace {

std::uint32_t HashOf(std::string_view name) {
  return static_cast<std::uint32_t>(std::hash<std::string_view>{}(name));
}

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
    : bIsInitialized(false), CaseFormat(nullptr), RBLContent(nullptr), Slots(1) {
  _KA_THISCLASS_MSG_ID = 11000;
}

bool CkaCaseCheck::Initialize(CkaCases* cases, CkaRBLDataContent* content) {
  CaseFormat = cases;
  RBLContent = content;
  return true;
}

int CkaCaseCheck::CheckForRow(int row) {
  const kaJoinedOutput joined;
  const int count = CaseFormat->GetCaseCount();
  IndexResults(SimpleCases.size() + static_cast<std::size_t>(count));
  bool result = false;
  for (int i = 0; i < count; ++i) {
    result = EvaluateCase(row, i, result);
    AddResult(CaseFormat->GetCaseAt(i).Id, result);
  }
  return 0;
}

bool CkaCaseCheck::IsCaseTrue(const std::string& name) const {
  const std::uint32_t position = Slots[SlotIndex(name, HashOf(name))].Position;
  return position != 0 && SimpleCases[position - 1].bIsTrue;
}

bool CkaCaseCheck::IsCaseTrue(const char* name) const {
  return IsCaseTrue(std::string(name));
}

bool CkaCaseCheck::IsCaseTrue(char* name) const {
  return IsCaseTrue(std::string(name));
}

/// Makes room for `count` results and enters those that are there.
void CkaCaseCheck::IndexResults(std::size_t count) {
  std::vector<kaSimpleCase> results = std::move(SimpleCases);
  SimpleCases.clear();
  SimpleCases.reserve(count);
  Slots.assign(std::bit_ceil(2 * count + 1), {});
  for (const kaSimpleCase& result : results)
    AddResult(result.Name, result.bIsTrue);
}

void CkaCaseCheck::AddResult(std::string_view name, bool isTrue) {
  SimpleCases.push_back({name, isTrue});
  const std::uint32_t hash = HashOf(name);
  Slots[SlotIndex(name, hash)] = {hash, static_cast<std::uint32_t>(SimpleCases.size())};
}

/// The slot of the last result called `name`, a free one if there is none.
std::size_t CkaCaseCheck::SlotIndex(std::string_view name, std::uint32_t hash) const {
  const std::size_t mask = Slots.size() - 1;
  const auto isOther = [this, name, hash](const kaSlot& slot) {
    return slot.Position != 0 && (slot.Hash != hash || SimpleCases[slot.Position - 1].Name != name);
  };
  std::size_t index = hash & mask;
  while (isOther(Slots[index]))
    index = (index + 1) & mask;
  return index;
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
