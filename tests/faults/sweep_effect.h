#ifndef KA_TESTS_FAULTS_SWEEP_EFFECT_H
#define KA_TESTS_FAULTS_SWEEP_EFFECT_H

#include <set>
#include <string>
#include <vector>

#include "strace.h"
#include "sweep_plan.h"

/// \file
/// What a failing call must lead to.

namespace faults {

/// The difference that a fault makes to a server at work.
struct Effect {
  std::string Outcome = "passed over";  ///< in the words of the table
  std::vector<std::string> Reports;     ///< further lines on standard error, times masked
  bool MayRepeat = false;               ///< the reports come again with later messages
  bool LosesAnswer = false;             ///< the client sees its connection end, nothing else
  bool LeavesProgramsOut = false;       ///< fewer programs are run than without the fault
  bool ChangesOutput = false;           ///< standard output may differ

  /// Adds another fault's.
  void Add(const Effect& other);
};

/// The failing call in line `hit` of the trace of a listener's thread.
Effect EffectAtWork(const Trace& trace, std::size_t hit, const Injection& injection, Phase phase,
                    unsigned port);

/// What the three listeners report, and whether they serve.
struct ListenerEffect {
  std::string Outcome;
  std::vector<std::string> SetUpReports;  ///< of each listener, once
  bool FailsToAccept = false;             ///< a failed accept may be reported, any number of times
  bool Serves = true;
};

/// The nth call of each listener's thread fails, before it serves anybody.
ListenerEffect EffectOnListeners(const Injection& injection);

/// What must be there after a start.
struct StartEffect {
  std::string Outcome = "passed over";
  bool MayEnd = false;   ///< with a status other than 0
  std::set<int> Absent;  ///< listeners without a thread: 1 text, 2 data, 3 command
  bool NoPorts = false;
};

/// The failing calls of the main thread.
StartEffect EffectAtStart(const Trace& trace, const Injection& injection);

/// Whether the failing call in a line of a trace was to make a thread that now does not exist.
bool CostsAThread(const std::string& line, const Injection& injection);

/// The three reports that follow from a failed accept.
std::vector<std::string> FailedAcceptReports(unsigned port);

/// A line of a block that could not be used, its number masked.
constexpr const char* kUnusableBlock =
    "Meldung Nr. N --- Die Meldung konnte nicht generiert werden!!!";

}  // namespace faults

#endif
