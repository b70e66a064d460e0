#ifndef KA_TESTS_FAULTS_MEMORY_SHIM_H
#define KA_TESTS_FAULTS_MEMORY_SHIM_H

#include <atomic>

namespace servertest {

/// Which requests for memory are refused. Lies in a file that test and server share.
struct MemoryPlan {
  std::atomic<bool> Active;        ///< whether requests are counted and refused
  std::atomic<bool> AllFollowing;  ///< whether none succeeds behind the first that is refused
  std::atomic<long> First;         ///< number of that request, from 1
  std::atomic<long> Count;         ///< requests since the plan became active
};

}  // namespace servertest

#endif
