#ifndef KA_CASES_H
#define KA_CASES_H

#include <cstddef>
#include <cstdint>
#include <string>
#include <unordered_set>
#include <vector>

#include "kaNavigateXML.h"

/// Reads the "Case" elements of the section "Assembly" of the announcement document: named
/// conditions on a data row. Every combining case stands in the list after all that it combines.
class CkaCases : public CkaNavigateXML {
 public:
  /// Case types and combining operators.
  enum {
    _CS_SUBSTR = 0,     ///< test on a part of an attribute's value
    _CS_STRLEN = 1,     ///< test on the length of an attribute's value
    _CS_OPERATION = 2,  ///< combination of other cases
    _CS_AND = 3,
    _CS_OR = 4,
    _CS_NOR = 5,
    _CS_NAND = 6
  };
  enum { _CST_NUMBER = 0, _CST_STRING = 1 };
  /// Comparisons. The last two are for texts only.
  enum {
    _CSO_LT = 0,
    _CSO_GT = 1,
    _CSO_LE = 2,
    _CSO_GE = 3,
    _CSO_NE = 4,
    _CSO_EQ = 5,
    _CSO_HAS = 6,
    _CSO_HASNOT = 7
  };
  /// TreatAs or Operator that the document did not set; such a case is false.
  static constexpr std::int32_t kUnset = -1;

  struct kaCaseStruct {
    std::int32_t Type = kUnset;
    std::string Id;
    std::string FirstValRef;  ///< row attribute under test
    std::string SecondVal;    ///< value to compare with
    std::int32_t Begin = 0;   ///< first byte of the part, from 0
    std::int32_t End = 0;     ///< last byte of the part, inclusive; -1 up to the end
    std::int32_t TreatAs = kUnset;
    std::int32_t Operator = kUnset;
    std::vector<std::string> CaseRefs;
    std::size_t Element = 0;  ///< number of its element among the "Case" children, from 0
  };

  CkaCases();

  /// Reads all cases. False if there is no substring or length case.
  /// \throws std::out_of_range if the document has no Assembly.
  bool ReadCases();

  void SetMainNodes();
  bool GetCaseData();
  /// Reads the substring and length cases. \return number of cases now
  int ReadUnrelated();
  /// Reads the combining cases whose references resolve. \return number of cases now
  int ReadRelated();
  /// Fill a record from a "Case" element; false rejects the case.
  bool ReadForSubstr(kaCaseStruct& record, xmlpp::Node* node);
  bool ReadForStrlen(kaCaseStruct& record, xmlpp::Node* node);
  bool ExistsIdInDoneCases(const char* id) const;
  bool ExistsIdInDoneCases(const std::string& id) const;

  int GetCaseCount() const;
  /// \throws std::out_of_range for an index outside the list, as all that follow.
  const kaCaseStruct& GetCaseAt(int i) const;
  int GetTypeAt(int i) const;
  std::string GetIdAt(int i) const;
  std::string GetFirstValRefAt(int i) const;
  std::string GetSecondValAt(int i) const;
  int GetBeginAt(int i) const;
  int GetEndAt(int i) const;
  int GetTreatAsAt(int i) const;
  int GetOperatorAt(int i) const;
  std::vector<std::string> GetCaseRefsAt(int i) const;

  xmlpp::Node* pRootNode;
  xmlpp::Node* pAssemNode;
  std::vector<kaCaseStruct> SortedCases;

 private:
  void AppendCase(kaCaseStruct record);
  kaCaseStruct ReadOperation(xmlpp::Node* node) const;

  /// The ids of SortedCases.
  std::unordered_set<std::string> DoneIds;
};

#endif
