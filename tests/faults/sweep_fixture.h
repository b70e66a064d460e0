#ifndef KA_TESTS_FAULTS_SWEEP_FIXTURE_H
#define KA_TESTS_FAULTS_SWEEP_FIXTURE_H

#include <chrono>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "server/port_lease.h"
#include "server/server_fixture.h"
#include "strace.h"
#include "sweep_effect.h"
#include "sweep_plan.h"

namespace faults {

/// Injects faults into a fresh server each and holds what happens against what must happen.
class FaultTest : public servertest::ServerTest {
 protected:
  FaultTest();

  void SetUp() override;

  /// One injection into a fresh server. \return whether the server came to make the call at all
  bool Inject(Phase phase, const Injection& injection);
  /// The nth call with the first error of its row, which must come to pass and to this outcome.
  void ExpectInjected(Phase phase, const std::string& call, int nth, const std::string& outcome);
  /// The same for the first of the calls up to number `most` that has this outcome.
  void ExpectInjectedWithin(Phase phase, const std::string& call, int most,
                            const std::string& outcome);
  /// The same for all calls from the nth on.
  void ExpectLasting(Phase phase, const std::string& call, int nth, const std::string& outcome);
  /// An injection while the program is loaded, which must end it.
  void ExpectNotLoaded(const Injection& injection);
  /// Every call of the row with every error, one after another until none is left; and each error
  /// for good.
  void Sweep(const Row& row);

  /// The number of the first call that the main thread makes in the program itself.
  int FirstCallOfMain(const std::string& call);

 private:
  /// What came of two messages to a listener.
  struct Work {
    std::vector<std::string> Answers;
    std::vector<std::string> Reports;   ///< standard error
    std::vector<std::string> Programs;  ///< that were run
    std::vector<std::string> Output;
  };

  std::string Log() const { return stage().Beside("trace"); }
  unsigned PortOf(Phase phase) const;
  std::vector<std::string> MessagesFor(Phase phase) const;
  void LaunchWith(const Injection& injection, Follow follow);

  std::string InjectAtStart(const Injection& injection);
  void ExpectStarted(const StartEffect& effect);

  void TakeFreshPorts();
  std::string InjectIntoListeners(const Injection& injection);
  void ExpectListenerReports(const ListenerEffect& effect);

  std::string InjectAtWork(Phase phase, const Injection& injection);
  void StartForWork(Phase phase);
  const Work& UndisturbedWork(Phase phase);
  Work Finish(Phase phase, const std::vector<std::string>& answers);
  void ExpectDifference(const Work& seen, const Work& undisturbed, const Effect& effect,
                        bool lasting);
  void ExpectReports(const std::vector<std::string>& surplus, const Effect& effect, bool lasting);
  void ExpectAllPortsServe(Phase first);
  void ExpectServed(Phase phase);

  std::string InjectIntoTimer(const Injection& injection);
  std::string InjectIntoExpiry(const Injection& injection);
  void TraceTimer(const Injection& injection, Follow follow);
  bool StartTimerAndTrace(const Injection& injection, Follow follow);
  bool IsCleared() const;
  void ExpectPortsAnswer() const;

  std::string InjectAtEnd(const Injection& injection);

  /// Waits for a second's end and holds the server's processor time since then against 5 %.
  void ExpectIdle(double processorBefore, std::chrono::steady_clock::time_point since);

  std::unique_ptr<Tracer> tracer_;
  std::map<Phase, servertest::PortLease> ports_;  ///< instead of the stage's
  std::map<Phase, Work> undisturbed_;
  bool injected_ = false;
  std::string outcome_;
};

}  // namespace faults

#endif
