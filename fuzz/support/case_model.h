#ifndef KA_FUZZ_CASE_MODEL_H
#define KA_FUZZ_CASE_MODEL_H

#include <string>
#include <utility>
#include <vector>

#include "kaCases.h"
#include "kaRBLDataContent.h"

namespace model {

using Case = CkaCases::kaCaseStruct;

/// The cases of a document in the order of evaluation: the simple ones, then the others as repeated
/// passes accept them. \param reader has loaded the document and found its nodes
std::vector<Case> OrderedCases(CkaCases& reader);

/// The results of all cases for one row.
struct CaseResults {
  std::vector<std::pair<std::string, bool>> Results;
  std::string Out;         ///< what the server prints
  bool IsOutside = false;  ///< a part began outside a value: the rest was not looked at

  bool IsTrue(const std::string& name) const;
};

CaseResults EvaluateCases(const std::vector<Case>& cases, const CkaRBLDataContent::kaRBLRow& row);

/// Value of an attribute, "" if the row lacks it.
std::string ValueOf(const CkaRBLDataContent::kaRBLRow& row, const std::string& name);

}  // namespace model

#endif
