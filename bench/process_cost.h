#ifndef KA_BENCH_PROCESS_COST_H
#define KA_BENCH_PROCESS_COST_H

#include <sys/types.h>

#include <cstdint>
#include <initializer_list>
#include <map>
#include <string>

/// \file
/// What a running process costs, from /proc.

namespace bench {

/// Nanoseconds of processor time of each of its threads.
std::map<pid_t, std::int64_t> ThreadNanoseconds(pid_t pid);
/// The same for all threads together.
std::int64_t OwnNanoseconds(pid_t pid);
/// Processor time of the children that it has waited for, in milliseconds, in steps of 10 ms.
double ChildrenMilliseconds(pid_t pid);
/// How often a thread has gone to sleep by itself.
std::int64_t VoluntarySwitches(pid_t pid, pid_t thread);

/// Value of a row "NAME:   VALUE kB" of a file below /proc/PID, in KiB.
double Kilobytes(pid_t pid, const std::string& file, const std::string& name);

/// Whether somebody listens on each of the ports. Looks without connecting.
bool PortsListen(const std::initializer_list<unsigned>& ports);

/// Now, in milliseconds on the monotonic clock.
double NowMilliseconds();

}  // namespace bench

#endif
