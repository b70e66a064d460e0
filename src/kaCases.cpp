#include "kaCases.h"

#include <algorithm>
#include <array>
#include <queue>
#include <unordered_map>
#include <utility>

#include "kaOutput.h"

namespace {

constexpr std::int32_t kUnknownWord = CkaCases::kUnset;

/// Comparison that a word stands for, kUnknownWord for any other.
std::int32_t ComparisonFromWord(const std::string& word) {
  // In the order of the enumerators.
  constexpr std::array kWords = {"lt", "gt", "le", "ge", "ne", "eq", "has", "hasnot"};
  const auto found = std::find(kWords.begin(), kWords.end(), word);
  return found == kWords.end() ? kUnknownWord : static_cast<std::int32_t>(found - kWords.begin());
}

bool IsForTextsOnly(std::int32_t comparison) {
  return comparison == CkaCases::_CSO_HAS || comparison == CkaCases::_CSO_HASNOT;
}

/// "NOT" is NAND: of one case that is a plain negation, and documents negate several cases at once.
std::int32_t CombinationFromWord(const std::string& word) {
  if (word == "AND") return CkaCases::_CS_AND;
  if (word == "OR") return CkaCases::_CS_OR;
  if (word == "NOR") return CkaCases::_CS_NOR;
  if (word == "NOT" || word == "NAND") return CkaCases::_CS_NAND;
  return kUnknownWord;
}

std::int32_t TreatmentFromWord(const std::string& word) {
  if (word == "number" || word == "Number") return CkaCases::_CST_NUMBER;
  if (word == "string" || word == "String") return CkaCases::_CST_STRING;
  return kUnknownWord;
}

/// Puts combining cases into the order in which repeated passes over the document would accept
/// them: a case is accepted in the first pass that reaches it after all cases it refers to are
/// there. Each reference is looked at once instead of once per pass.
class OperationOrder {
 public:
  /// Adds a case at the end of the document. `missing` are the references not accepted yet.
  void Add(const std::vector<std::string>& missing) {
    const std::size_t element = missing_.size();
    missing_.push_back(missing.size());
    for (const std::string& id : missing)
      waiting_[id].push_back(element);
    if (missing.empty()) ready_.push({kFirstPass, element});
  }

  /// Takes the next acceptable case: its number in the document, or npos at the end.
  std::size_t TakeNext() {
    if (ready_.empty()) return std::string::npos;
    current_ = ready_.top();
    ready_.pop();
    return current_.second;
  }

  /// Tells that the case last taken was accepted under `id`: cases behind it see it in the same
  /// pass, those in front of it in the next one.
  void Accept(const std::string& id) {
    const auto [pass, accepted] = current_;
    for (const std::size_t element : waiting_[id]) {
      if (--missing_[element] > 0) continue;
      ready_.push({element > accepted ? pass : pass + 1, element});
    }
    waiting_.erase(id);
  }

 private:
  using PassAndElement = std::pair<std::size_t, std::size_t>;
  static constexpr std::size_t kFirstPass = 1;

  std::vector<std::size_t> missing_;  ///< per element, the references not accepted yet
  std::unordered_map<std::string, std::vector<std::size_t>> waiting_;  ///< elements by reference
  std::priority_queue<PassAndElement, std::vector<PassAndElement>, std::greater<>> ready_;
  PassAndElement current_;
};

}  // namespace

CkaCases::CkaCases() : pRootNode(nullptr), pAssemNode(nullptr) {
  _KA_THISCLASS_MSG_ID = 10300;
}

bool CkaCases::ReadCases() {
  SetMainNodes();
  return GetCaseData();
}

void CkaCases::SetMainNodes() {
  pAssemNode = nullptr;
  pRootNode = GetRootNode();
  pAssemNode = GetRequiredChild(pRootNode, "Assembly");
}

bool CkaCases::GetCaseData() {
  SortedCases.clear();
  DoneIds.clear();
  return ReadUnrelated() != 0 && ReadRelated() != 0;
}

int CkaCases::ReadUnrelated() {
  std::size_t element = 0;
  for (xmlpp::Node* node : FindNodes(pAssemNode, "Case")) {
    kaCaseStruct record;
    record.Element = element++;
    bool accepted = false;
    if (AttributeExists(node, "substr")) {
      record.Type = _CS_SUBSTR;
      accepted = ReadForSubstr(record, node);
    } else if (AttributeExists(node, "strlen")) {
      record.Type = _CS_STRLEN;
      accepted = ReadForStrlen(record, node);
    }
    if (accepted) AppendCase(std::move(record));
  }
  return GetCaseCount();
}

int CkaCases::ReadRelated() {
  std::vector<kaCaseStruct> operations;
  OperationOrder order;
  std::size_t element = 0;
  for (xmlpp::Node* node : FindNodes(pAssemNode, "Case")) {
    const std::size_t number = element++;
    if (ExistsIdInDoneCases(GetAttributeValue(node, "id"))) continue;  // simple cases, above all
    kaCaseStruct& operation = operations.emplace_back(ReadOperation(node));
    operation.Element = number;
    std::vector<std::string> missing;
    std::copy_if(operation.CaseRefs.begin(), operation.CaseRefs.end(), std::back_inserter(missing),
                 [this](const std::string& ref) { return !ExistsIdInDoneCases(ref); });
    order.Add(missing);
  }
  for (auto i = order.TakeNext(); i != std::string::npos; i = order.TakeNext()) {
    // Of several with one id the first is taken.
    if (ExistsIdInDoneCases(operations[i].Id)) continue;
    order.Accept(operations[i].Id);
    AppendCase(std::move(operations[i]));
  }
  return GetCaseCount();
}

CkaCases::kaCaseStruct CkaCases::ReadOperation(xmlpp::Node* node) const {
  kaCaseStruct record;
  record.Type = _CS_OPERATION;
  record.Id = GetAttributeValue(node, "id");
  record.Operator = AttributeExists(node, "operator")
                        ? CombinationFromWord(GetAttributeValue(node, "operator"))
                        : static_cast<std::int32_t>(_CS_AND);
  for (xmlpp::Node* child : FindNodes(node, "Case")) {
    record.CaseRefs.push_back(GetAttributeValue(child, "ref"));
  }
  return record;
}

bool CkaCases::ReadForSubstr(kaCaseStruct& record, xmlpp::Node* node) {
  record.TreatAs = TreatmentFromWord(GetAttributeValue(node, "type"));
  // Reported, but not rejected: the case stays in the list and is false.
  if (record.TreatAs == kUnset) PrintErr("Falsche Fallbeschreibung (XML)\n");

  record.Operator = ComparisonFromWord(GetAttributeValue(node, "operator"));
  if (record.Operator == kUnknownWord) return false;
  if (IsForTextsOnly(record.Operator) && record.TreatAs != _CST_STRING) return false;

  record.Id = GetAttributeValue(node, "id");
  record.Begin = GetAttributeValueInt(node, "begin");
  record.End = GetAttributeValueInt(node, "end");
  record.FirstValRef = GetAttributeValue(node, "substr");
  record.SecondVal = GetAttributeValue(node, "value");
  return true;
}

bool CkaCases::ReadForStrlen(kaCaseStruct& record, xmlpp::Node* node) {
  record.Operator = ComparisonFromWord(GetAttributeValue(node, "operator"));
  if (record.Operator == kUnknownWord || IsForTextsOnly(record.Operator)) return false;

  record.Id = GetAttributeValue(node, "id");
  record.FirstValRef = GetAttributeValue(node, "strlen");
  record.SecondVal = GetAttributeValue(node, "value");
  return true;
}

bool CkaCases::ExistsIdInDoneCases(const char* id) const {
  return ExistsIdInDoneCases(std::string(id));
}

bool CkaCases::ExistsIdInDoneCases(const std::string& id) const {
  return DoneIds.contains(id);
}

int CkaCases::GetCaseCount() const {
  return static_cast<int>(SortedCases.size());
}

const CkaCases::kaCaseStruct& CkaCases::GetCaseAt(int i) const {
  return SortedCases.at(static_cast<std::size_t>(i));
}

int CkaCases::GetTypeAt(int i) const {
  return GetCaseAt(i).Type;
}

std::string CkaCases::GetIdAt(int i) const {
  return GetCaseAt(i).Id;
}

std::string CkaCases::GetFirstValRefAt(int i) const {
  return GetCaseAt(i).FirstValRef;
}

std::string CkaCases::GetSecondValAt(int i) const {
  return GetCaseAt(i).SecondVal;
}

int CkaCases::GetBeginAt(int i) const {
  return GetCaseAt(i).Begin;
}

int CkaCases::GetEndAt(int i) const {
  return GetCaseAt(i).End;
}

int CkaCases::GetTreatAsAt(int i) const {
  return GetCaseAt(i).TreatAs;
}

int CkaCases::GetOperatorAt(int i) const {
  return GetCaseAt(i).Operator;
}

std::vector<std::string> CkaCases::GetCaseRefsAt(int i) const {
  return GetCaseAt(i).CaseRefs;
}

void CkaCases::AppendCase(kaCaseStruct record) {
  DoneIds.insert(record.Id);
  SortedCases.push_back(std::move(record));
}
