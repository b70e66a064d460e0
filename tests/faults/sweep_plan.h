#ifndef KA_TESTS_FAULTS_SWEEP_PLAN_H
#define KA_TESTS_FAULTS_SWEEP_PLAN_H

#include <string>
#include <vector>

#include "strace.h"

/// \file
/// Which calls fail with which errors.

namespace faults {

/// A time in the server's life, with the thread that lives it.
enum class Phase {
  kStart,      ///< main thread, from the loader's first call until it idles
  kListeners,  ///< the three listeners at once, until they accept; one by one strace cannot tell
               ///< them
  kText,       ///< listener of a server at work
  kData,
  kCommand,
  kTimer,   ///< thread that waits for the cache timer to expire
  kExpiry,  ///< thread of an expired timer
  kEnd,     ///< main thread, running the restart script
};

const char* NameOf(Phase phase);

/// A kind of call in a phase, with the errors that it may meet there.
struct Row {
  faults::Phase Phase;
  std::string Call;
  std::vector<Error> Errors;
  /// Errors that come once and never last: another try meets another state.
  std::vector<Error> PassingErrors;
  std::string Path = {};  ///< only calls for this file; "" for all
};

/// All of them, in the order of the stages.
const std::vector<Row>& AllRows();

/// The row of a call; throws when there is none.
const Row& RowOf(Phase phase, const std::string& call);

}  // namespace faults

#endif
