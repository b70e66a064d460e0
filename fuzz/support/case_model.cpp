#include "support/case_model.h"

#include <algorithm>
#include <cstdint>
#include <limits>
#include <set>

namespace model {

namespace {

bool IsBlank(char c) {
  return c == ' ' || (c >= '\t' && c <= '\r');
}

/// The number that a text begins with, cut to 32 bits; one too large for 64 counts as the largest.
int NumberAtHead(const std::string& text) {
  std::size_t i = 0;
  while (i < text.size() && IsBlank(text[i]))
    ++i;
  const bool negative = i < text.size() && text[i] == '-';
  if (i < text.size() && (text[i] == '-' || text[i] == '+')) ++i;
  constexpr std::int64_t kLowest = std::numeric_limits<std::int64_t>::min();
  std::int64_t number = 0;  // kept negative: there is one more of those
  for (; i < text.size() && text[i] >= '0' && text[i] <= '9'; ++i) {
    const int digit = text[i] - '0';
    number = number < (kLowest + digit) / 10 ? kLowest : number * 10 - digit;
  }
  if (negative) return static_cast<int>(number);
  return static_cast<int>(number == kLowest ? std::numeric_limits<std::int64_t>::max() : -number);
}

int ComparisonOf(const std::string& word) {
  if (word == "lt") return CkaCases::_CSO_LT;
  if (word == "gt") return CkaCases::_CSO_GT;
  if (word == "le") return CkaCases::_CSO_LE;
  if (word == "ge") return CkaCases::_CSO_GE;
  if (word == "ne") return CkaCases::_CSO_NE;
  if (word == "eq") return CkaCases::_CSO_EQ;
  if (word == "has") return CkaCases::_CSO_HAS;
  return word == "hasnot" ? static_cast<int>(CkaCases::_CSO_HASNOT) : CkaCases::kUnset;
}

int CombinationOf(const std::string& word) {
  if (word == "AND") return CkaCases::_CS_AND;
  if (word == "OR") return CkaCases::_CS_OR;
  if (word == "NOR") return CkaCases::_CS_NOR;
  return word == "NOT" || word == "NAND" ? static_cast<int>(CkaCases::_CS_NAND) : CkaCases::kUnset;
}

int TreatmentOf(const std::string& word) {
  if (word == "number" || word == "Number") return CkaCases::_CST_NUMBER;
  if (word == "string" || word == "String") return CkaCases::_CST_STRING;
  return CkaCases::kUnset;
}

/// Reads elements through a reader of the document.
class Element {
 public:
  Element(const CkaCases& reader, xmlpp::Node* node) : reader_(reader), node_(node) {}

  bool Has(const char* name) const { return reader_.AttributeExists(node_, name); }
  std::string operator[](const char* name) const { return reader_.GetAttributeValue(node_, name); }
  int Number(const char* name) const { return NumberAtHead((*this)[name]); }
  std::vector<std::string> References() const {
    std::vector<std::string> references;
    for (xmlpp::Node* child : reader_.FindNodes(node_, "Case"))
      references.push_back(Element(reader_, child)["ref"]);
    return references;
  }

 private:
  const CkaCases& reader_;
  xmlpp::Node* node_;
};

/// Whether the element is an acceptable simple case.
bool ReadSimple(const Element& element, Case& record) {
  const bool isPart = element.Has("substr");
  if (!isPart && !element.Has("strlen")) return false;
  record.Type = isPart ? CkaCases::_CS_SUBSTR : CkaCases::_CS_STRLEN;
  record.Id = element["id"];
  record.FirstValRef = element[isPart ? "substr" : "strlen"];
  record.SecondVal = element["value"];
  record.Operator = ComparisonOf(element["operator"]);
  if (isPart) {
    record.TreatAs = TreatmentOf(element["type"]);
    record.Begin = element.Number("begin");
    record.End = element.Number("end");
  }
  const bool forTexts =
      record.Operator == CkaCases::_CSO_HAS || record.Operator == CkaCases::_CSO_HASNOT;
  return record.Operator != CkaCases::kUnset &&
         (!forTexts || record.TreatAs == CkaCases::_CST_STRING);
}

Case ReadCombination(const Element& element) {
  Case record;
  record.Type = CkaCases::_CS_OPERATION;
  record.Id = element["id"];
  record.Operator =
      element.Has("operator") ? CombinationOf(element["operator"]) : int{CkaCases::_CS_AND};
  record.CaseRefs = element.References();
  return record;
}

bool CompareNumbers(int comparison, int left, int right) {
  const bool less = left < right;
  const bool greater = left > right;
  return (comparison == CkaCases::_CSO_LT && less) ||
         (comparison == CkaCases::_CSO_GT && greater) ||
         (comparison == CkaCases::_CSO_LE && !greater) ||
         (comparison == CkaCases::_CSO_GE && !less) ||
         (comparison == CkaCases::_CSO_NE && (less || greater)) ||
         (comparison == CkaCases::_CSO_EQ && !less && !greater);
}

bool CompareTexts(int comparison, const std::string& left, const std::string& right) {
  bool common = false;
  for (const char a : left) {
    for (const char b : right)
      common = common || a == b;
  }
  return (comparison == CkaCases::_CSO_EQ && left == right) ||
         (comparison == CkaCases::_CSO_NE && left != right) ||
         (comparison == CkaCases::_CSO_HAS && common) ||
         (comparison == CkaCases::_CSO_HASNOT && !common);
}

/// \param isOutside becomes true where the server gives the block up
bool IsPartTrue(const Case& c, const std::string& text, bool& isOutside) {
  const int length = static_cast<int>(text.size());
  if (c.End != -1 && (c.Begin > c.End || c.End >= length)) return false;
  isOutside = c.Begin < 0 || c.Begin > length;
  if (isOutside) return false;
  std::string part;
  for (int i = c.Begin; i < length && (c.End == -1 || i <= c.End); ++i)
    part += text[static_cast<std::size_t>(i)];
  if (c.TreatAs == CkaCases::_CST_NUMBER) {
    return CompareNumbers(c.Operator, NumberAtHead(part), NumberAtHead(c.SecondVal));
  }
  return c.TreatAs == CkaCases::_CST_STRING && CompareTexts(c.Operator, part, c.SecondVal);
}

bool IsCombinationTrue(const Case& c, const CaseResults& results) {
  std::size_t holding = 0;
  for (const std::string& name : c.CaseRefs)
    if (results.IsTrue(name)) ++holding;
  if (c.CaseRefs.empty()) return false;
  const bool all = holding == c.CaseRefs.size();
  return (c.Operator == CkaCases::_CS_AND && all) ||
         (c.Operator == CkaCases::_CS_OR && holding > 0) ||
         (c.Operator == CkaCases::_CS_NOR && holding == 0) ||
         (c.Operator == CkaCases::_CS_NAND && !all);
}

}  // namespace

std::vector<Case> OrderedCases(CkaCases& reader) {
  std::vector<Case> ordered;
  std::vector<Case> combinations;
  std::set<std::string> done;
  for (xmlpp::Node* node : reader.FindNodes(reader.pAssemNode, "Case")) {
    const Element element(reader, node);
    Case record;
    if (ReadSimple(element, record)) {
      done.insert(record.Id);
      ordered.push_back(record);
    }
    combinations.push_back(ReadCombination(element));
  }
  if (ordered.empty()) return ordered;
  for (bool added = true; added;) {
    added = false;
    for (const Case& c : combinations) {
      if (done.contains(c.Id)) continue;
      const bool ready = std::all_of(c.CaseRefs.begin(), c.CaseRefs.end(),
                                     [&done](const auto& ref) { return done.contains(ref); });
      if (!ready) continue;
      added = true;
      done.insert(c.Id);
      ordered.push_back(c);
    }
  }
  return ordered;
}

bool CaseResults::IsTrue(const std::string& name) const {
  bool result = false;
  for (const auto& [known, holds] : Results) {
    if (known == name) result = holds;
  }
  return result;
}

CaseResults EvaluateCases(const std::vector<Case>& cases, const CkaRBLDataContent::kaRBLRow& row) {
  CaseResults results;
  for (const Case& c : cases) {
    bool holds = false;
    if (c.Type == CkaCases::_CS_SUBSTR) {
      holds = IsPartTrue(c, ValueOf(row, c.FirstValRef), results.IsOutside);
    } else if (c.Type == CkaCases::_CS_STRLEN) {
      const int length = static_cast<int>(ValueOf(row, c.FirstValRef).size());
      const int reference = NumberAtHead(c.SecondVal);
      results.Out +=
          "Platform case : " + std::to_string(length) + " > " + std::to_string(reference) + "\n";
      holds = CompareNumbers(c.Operator, length, reference);
    } else {
      holds = IsCombinationTrue(c, results);
    }
    if (results.IsOutside) break;
    results.Results.emplace_back(c.Id, holds);
  }
  return results;
}

std::string ValueOf(const CkaRBLDataContent::kaRBLRow& row, const std::string& name) {
  std::string value;
  for (const auto& pair : row.Values) {
    if (pair.Name == name) value = pair.Value;
  }
  return value;
}

}  // namespace model
