#ifndef KA_CASE_CHECK_H
#define KA_CASE_CHECK_H

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "kaCaseIndex.h"
#include "kaSuperior.h"

class CkaCases;
class CkaRBLDataContent;

/// Decides which cases hold for one data row. One object per row: Initialize, CheckForRow, then any
/// number of IsCaseTrue.
class CkaCaseCheck : public CkaSuperior {
 public:
  struct kaSimpleCase {
    /// The case's own, not a copy: with thousands of cases copies would cost a third of the time.
    std::string_view Name;
    bool bIsTrue = false;
  };

  CkaCaseCheck();

  /// \param cases,content,index outlive the object and stay as they are
  /// \param index that of `cases`; without one each CheckForRow makes its own
  /// \return always true
  bool Initialize(CkaCases* cases, CkaRBLDataContent* content, const kaCaseIndex* index = nullptr);

  /// Evaluates every case for row `row` (from 0). Always 0.
  /// \throws std::out_of_range for a substring case whose begin lies outside the value.
  int CheckForRow(int row);

  /// The result of the last case called `name`; false if there is none.
  bool IsCaseTrue(const std::string& name) const;
  bool IsCaseTrue(const char* name) const;
  bool IsCaseTrue(char* name) const;

  /// The part of the row's value that a substring case looks at; none, and the case does not hold,
  /// if the value does not reach up to the case's end or the end stands before the begin.
  /// \throws std::out_of_range if the begin lies outside the value; the block is then given up.
  std::optional<std::string> PartUnderTest(int row, int caseIndex) const;

  bool CheckSubstrForRow(int row, int caseIndex) const;
  bool CheckStrlenForRow(int row, int caseIndex) const;
  bool CheckOperationForRow(int row, int caseIndex) const;

  bool bIsInitialized;  ///< stays false; nothing asks for it
  CkaCases* CaseFormat;
  CkaRBLDataContent* RBLContent;
  std::vector<kaSimpleCase> SimpleCases;

 private:
  const kaCaseIndex& Index() const { return GivenIndex == nullptr ? OwnIndex : *GivenIndex; }
  bool EvaluateCase(int row, int caseIndex, bool previous) const;
  bool EvaluateOperation(int row, int caseIndex) const;

  const kaCaseIndex* GivenIndex;
  kaCaseIndex OwnIndex;
  /// Where the results of the last CheckForRow begin; those before are of earlier ones.
  std::size_t FirstResult;
  bool bIsComplete;  ///< whether the last CheckForRow came to its end
};

#endif
