#ifndef KA_CASE_CHECK_H
#define KA_CASE_CHECK_H

#include <string>
#include <unordered_map>
#include <vector>

#include "kaSuperior.h"

class CkaCases;
class CkaRBLDataContent;

/// Decides which cases hold for one data row. One object per row: Initialize, CheckForRow, then any
/// number of IsCaseTrue.
class CkaCaseCheck : public CkaSuperior {
 public:
  struct kaSimpleCase {
    std::string Name;
    bool bIsTrue = false;
  };

  CkaCaseCheck();

  /// \param cases, content outlive the object. Always true.
  bool Initialize(CkaCases* cases, CkaRBLDataContent* content);

  /// Evaluates every case for row `row` (from 0). Always 0.
  /// \throws std::out_of_range for a substring case whose begin lies outside the value.
  int CheckForRow(int row);

  /// The result of the last case called `name`; false if there is none.
  bool IsCaseTrue(const std::string& name) const;
  bool IsCaseTrue(const char* name) const;
  bool IsCaseTrue(char* name) const;

  bool CheckSubstrForRow(int row, int caseIndex) const;
  bool CheckStrlenForRow(int row, int caseIndex) const;
  bool CheckOperationForRow(int row, int caseIndex) const;

  bool bIsInitialized;  ///< stays false; nothing asks for it
  CkaCases* CaseFormat;
  CkaRBLDataContent* RBLContent;
  std::vector<kaSimpleCase> SimpleCases;

 private:
  bool EvaluateCase(int row, int caseIndex, bool previous) const;

  std::unordered_map<std::string, bool> ResultsByName;
};

#endif
