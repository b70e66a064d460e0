#ifndef KA_TESTS_SOAK_PROBE_H
#define KA_TESTS_SOAK_PROBE_H

#include <sys/types.h>

#include <cstddef>

namespace soak {

/// What the server holds at a moment.
struct Holdings {
  std::size_t Descriptors = 0;
  std::size_t Threads = 0;
  double ResidentKb = 0;   ///< counted page by page, not the kernel's running estimate
  double AnonymousKb = 0;  ///< of these, what is not a file's
};

/// Looks at a process.
Holdings Probe(pid_t pid);

/// Seconds of processor time of the process and the children that it has waited for.
double ProcessorSecondsWithChildren(pid_t pid);

}  // namespace soak

#endif
