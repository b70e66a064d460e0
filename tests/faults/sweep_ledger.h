#ifndef KA_TESTS_FAULTS_SWEEP_LEDGER_H
#define KA_TESTS_FAULTS_SWEEP_LEDGER_H

#include <string>
#include <vector>

#include "strace.h"
#include "sweep_plan.h"

namespace faults {

/// What was seen, an entry for each injection; printed as a table at the end of the program.
class Ledger {
 public:
  struct Entry {
    faults::Phase Phase;
    faults::Injection Injection;
    std::string Outcome;
    bool AsExpected;
  };

  void Add(const Entry& entry) { entries_.push_back(entry); }
  /// A line for each phase, call and outcome, and one of totals.
  std::string Table() const;

 private:
  std::string Outcomes() const;
  std::string Totals() const;

  std::vector<Entry> entries_;
};

/// The one of this program.
Ledger& TheLedger();

}  // namespace faults

#endif
