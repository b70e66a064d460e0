#include "contest.h"

#include <algorithm>

#include "bench_station.h"
#include "figures.h"
#include "process_cost.h"

namespace bench {

namespace {

constexpr double kNanosecondsPerMillisecond = 1e6;

/// Follows the processor time of one contender from message to message.
class Meter {
 public:
  Meter(const Contender& contender, Costs& costs)
      : contender_(&contender), costs_(&costs), pid_(contender.Process->Pid()) {}

  /// The messages until now do not count.
  void Begin() {
    own_ = OwnNanoseconds(pid_);
    children_ = ChildrenMilliseconds(pid_);
  }

  void Send(const std::string& message, const Stopwatch& stopwatch) const {
    const double begin = NowMilliseconds();
    Tell(contender_->Port, message);
    costs_->Wall.push_back(stopwatch(begin));
  }

  /// Called when the contender is at rest: what it does after its answer counts, too.
  void TakeCpu() {
    const std::int64_t own = OwnNanoseconds(pid_);
    costs_->Cpu.push_back(static_cast<double>(own - own_) / kNanosecondsPerMillisecond);
    own_ = own;
  }

  void End() const {
    const double children = ChildrenMilliseconds(pid_) - children_;
    costs_->ChildrenCpu = children / static_cast<double>(costs_->Wall.size());
  }

 private:
  const Contender* contender_;
  Costs* costs_;
  pid_t pid_;
  std::int64_t own_ = 0;
  double children_ = 0;
};

void WarmUp(const std::vector<Contender>& contenders, const std::vector<std::string>& messages,
            std::size_t rounds) {
  for (std::size_t round = 0; round < rounds; ++round) {
    for (const Contender& contender : contenders) {
      Tell(contender.Port, messages[round % messages.size()]);
    }
  }
}

}  // namespace

double Costs::TotalCpu() const {
  return Median(Cpu) + ChildrenCpu;
}

double UntilAnswer(double begin) {
  return NowMilliseconds() - begin;
}

std::vector<Costs> Alternate(const std::vector<Contender>& contenders,
                             const std::vector<std::string>& messages, std::size_t rounds,
                             const Stopwatch& stopwatch) {
  std::vector<Costs> costs(contenders.size());
  std::vector<Meter> meters;
  WarmUp(contenders, messages, std::min<std::size_t>(rounds, 4));
  for (std::size_t i = 0; i < contenders.size(); ++i)
    meters.emplace_back(contenders[i], costs[i]).Begin();
  for (std::size_t round = 0; round < rounds; ++round) {
    for (std::size_t i = 0; i < contenders.size(); ++i) {
      meters[(i + round) % meters.size()].Send(messages[round % messages.size()], stopwatch);
    }
    for (Meter& meter : meters)
      meter.TakeCpu();
  }
  for (const Meter& meter : meters)
    meter.End();
  return costs;
}

}  // namespace bench
