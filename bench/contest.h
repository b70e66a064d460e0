#ifndef KA_BENCH_CONTEST_H
#define KA_BENCH_CONTEST_H

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "server/server_process.h"

namespace bench {

/// A running program that answers messages.
struct Contender {
  std::string Name;
  std::unique_ptr<servertest::ServerProcess> Process;
  unsigned Port = 0;
};

/// What the messages cost one contender, one value per message, in milliseconds.
struct Costs {
  std::vector<double> Wall;
  std::vector<double> Cpu;  ///< its own processor time
  double ChildrenCpu = 0;   ///< of all it started, mean per message, from ticks of 10 ms
  double TotalCpu() const;  ///< median of its own, and its children's
};

/// Tells how long a message took that was sent at `begin`; both in milliseconds on the monotonic
/// clock. Called when its answer is complete.
using Stopwatch = std::function<double(double begin)>;

/// From sending to the end of the answer.
double UntilAnswer(double begin);

/// Sends the messages in turn, `rounds` in all, each to every contender before the next one; who
/// comes first changes from round to round. A few rounds before are not counted.
std::vector<Costs> Alternate(const std::vector<Contender>& contenders,
                             const std::vector<std::string>& messages, std::size_t rounds,
                             const Stopwatch& stopwatch = UntilAnswer);

}  // namespace bench

#endif
