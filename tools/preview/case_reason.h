#ifndef KA_TOOLS_CASE_REASON_H
#define KA_TOOLS_CASE_REASON_H

#include <cstddef>
#include <optional>
#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include "common/document.h"
#include "kaCaseCheck.h"
#include "kaCases.h"
#include "kaRBLDataContent.h"

namespace tools {

/// Why a case holds for a row, or why not.
struct CaseReason {
  enum class Kind {
    Missing,     ///< there is no case of this name; it never holds
    Part,        ///< compares a part of an attribute's value
    Length,      ///< compares the length of an attribute's value
    Combination  ///< combines other cases
  };

  std::string Name;
  Kind What = Kind::Missing;
  bool bHolds = false;
  int Line = 0;  ///< of the case in the document, 0 if unknown
  /// Case as the server read it: attribute, begin and end, operator, type, value to compare with.
  CkaCases::kaCaseStruct Case;
  std::string Value;                ///< of the attribute in the row
  std::optional<std::string> Part;  ///< what of the value is compared; none if it does not reach
  std::vector<CaseReason> Cases;    ///< those that are combined, in their order
  bool bAbridged = false;           ///< its own cases stand elsewhere, or too deep
};

/// A word of the document for a comparison or a combination, "" for one that the document
/// misspells.
std::string ComparisonWord(int comparison);
std::string CombinationWord(int combination);

/// Gives the reasons of the cases of a document.
class CaseReasons {
 public:
  /// \param cases, document outlive the object
  CaseReasons(const CkaCases& cases, const Document& document);

  /// The reason of the last case called `name`. \param checked has checked the row `row`
  CaseReason Of(const std::string& name, const CkaCaseCheck& checked,
                const CkaRBLDataContent& content, int row) const;
  /// The case at which checking row `row` ended by an exception, without result and part.
  CaseReason OfFailure(const CkaCaseCheck& checked, const CkaRBLDataContent& content,
                       int row) const;

 private:
  struct Walk {
    const CkaCaseCheck& Checked;
    const CkaRBLDataContent& Content;
    int Row;
    std::unordered_set<std::size_t> Shown;  ///< combinations whose cases were given already
    int Depth = 0;
  };

  CaseReason Reason(const std::string& name, Walk& walk) const;
  CaseReason Describe(std::size_t index, const CkaRBLDataContent& content, int row) const;
  void AddCases(CaseReason& reason, std::size_t index, Walk& walk) const;

  const CkaCases& cases_;
  std::vector<int> lines_;                              ///< of all Case elements
  std::unordered_map<std::string, std::size_t> index_;  ///< the last case of each name
};

}  // namespace tools

#endif
