#include "sweep_fixture.h"

#include <sys/syscall.h>

#include <algorithm>
#include <array>
#include <exception>
#include <optional>
#include <sstream>
#include <stdexcept>
#include <system_error>
#include <thread>

#include "sweep_ledger.h"

namespace faults {

namespace {

using servertest::Ask;
using servertest::Block;
using servertest::Client;
using servertest::kReceived;
using servertest::ListensOn;
using servertest::OpenDescriptors;
using servertest::ProcessorSeconds;
using servertest::WaitUntil;
using testing::IsSubsetOf;
using testing::UnorderedElementsAreArray;
using Clock = std::chrono::steady_clock;

constexpr const char* kTimeout = "***Cache Timeout***\n";
constexpr const char* kNoBackup = "Backup-File nicht vorhanden";
constexpr std::array kPorts{Phase::kText, Phase::kData, Phase::kCommand};

/// The sender of a message gets nothing when its answer is what fails.
std::string AnswerOf(const Client& client) {
  try {
    return client.ReceiveAll();
  } catch (const std::system_error& error) {
    return error.what();
  }
}

/// Lines without what differs between two runs: times and the numbers of messages.
std::vector<std::string> ComparableLines(const std::string& text) {
  const std::string mark = "Meldung Nr. ";
  std::istringstream rows(servertest::MaskTimes(text));
  std::vector<std::string> lines;
  for (std::string row; std::getline(rows, row);) {
    if (row.starts_with(mark)) row.replace(0, row.find(" ---"), mark + "N");
    lines.push_back(row);
  }
  return lines;
}

/// What `all` has more than `part`.
std::vector<std::string> Surplus(std::vector<std::string> all,
                                 const std::vector<std::string>& part) {
  for (const std::string& line : part) {
    const auto found = std::find(all.begin(), all.end(), line);
    if (found != all.end()) all.erase(found);
  }
  return all;
}

int Failures() {
  return testing::UnitTest::GetInstance()->current_test_info()->result()->total_part_count();
}

}  // namespace

FaultTest::FaultTest() {
  // An engine that says nothing about a text that is missing.
  stubs().AddAt(stage().EngineDir() + "/save", "save", "printf 'speech' >\"$2\"");
}

void FaultTest::SetUp() {
  static const std::optional<std::string> reason = WhyNotPossible();
  if (reason) GTEST_SKIP() << "no faults can be injected: " << *reason;
}

// --- injections ---------------------------------------------------------------------------------

bool FaultTest::Inject(Phase phase, const Injection& injection) {
  SCOPED_TRACE(std::string(NameOf(phase)) + " " + injection.Call + " " + injection.When() + " " +
               injection.Error.Name);
  const int failuresBefore = Failures();
  outcome_ = "given up";
  injected_ = true;
  try {
    switch (phase) {
      case Phase::kStart:
        outcome_ = InjectAtStart(injection);
        break;
      case Phase::kListeners:
        outcome_ = InjectIntoListeners(injection);
        break;
      case Phase::kTimer:
        outcome_ = InjectIntoTimer(injection);
        break;
      case Phase::kExpiry:
        outcome_ = InjectIntoExpiry(injection);
        break;
      case Phase::kEnd:
        outcome_ = InjectAtEnd(injection);
        break;
      default:
        outcome_ = InjectAtWork(phase, injection);
        break;
    }
  } catch (const std::exception& error) {
    ADD_FAILURE() << error.what();
  }
  const bool asExpected = Failures() == failuresBefore;
  if (injected_ || !asExpected) TheLedger().Add({phase, injection, outcome_, asExpected});
  return injected_;
}

void FaultTest::ExpectInjected(Phase phase, const std::string& call, int nth,
                               const std::string& outcome) {
  const Row& row = RowOf(phase, call);
  EXPECT_TRUE(Inject(phase, {call, row.Errors.front(), nth, false, row.Path}))
      << "the call was not made";
  EXPECT_EQ(outcome_, outcome);
}

void FaultTest::ExpectInjectedWithin(Phase phase, const std::string& call, int most,
                                     const std::string& outcome) {
  const Row& row = RowOf(phase, call);
  outcome_.clear();
  for (int nth = 1; nth <= most && outcome_ != outcome; ++nth) {
    EXPECT_TRUE(Inject(phase, {call, row.Errors.front(), nth, false, row.Path}))
        << "the call was not made";
  }
  EXPECT_EQ(outcome_, outcome);
}

void FaultTest::ExpectLasting(Phase phase, const std::string& call, int nth,
                              const std::string& outcome) {
  const Row& row = RowOf(phase, call);
  EXPECT_TRUE(Inject(phase, {call, row.Errors.front(), nth, true, row.Path}))
      << "the call was not made";
  EXPECT_EQ(outcome_, outcome);
}

void FaultTest::ExpectNotLoaded(const Injection& injection) {
  EXPECT_TRUE(Inject(Phase::kStart, injection)) << "the call was not made";
  EXPECT_FALSE(server().IsRunning());
}

void FaultTest::Sweep(const Row& row) {
  constexpr int kMostCalls = 400;
  std::vector<Error> errors = row.Errors;
  errors.insert(errors.end(), row.PassingErrors.begin(), row.PassingErrors.end());
  for (const Error& error : errors) {
    int nth = 1;
    while (Inject(row.Phase, {row.Call, error, nth, false, row.Path}) && nth < kMostCalls)
      ++nth;
    EXPECT_GT(nth, 1) << row.Call << " is never called: " << NameOf(row.Phase);
  }
  const int first = row.Phase == Phase::kStart ? FirstCallOfMain(row.Call) : 1;
  for (const Error& error : row.Errors)
    Inject(row.Phase, {row.Call, error, first, true, row.Path});
}

int FaultTest::FirstCallOfMain(const std::string& call) {
  constexpr int kNever = 60000;  // strace counts up to 65535
  LaunchWith({call, RowOf(Phase::kStart, call).Errors.front(), kNever}, Follow::kOneThread);
  WaitUntil([this] { return servertest::CountOf(Out(), "ka-TTS-Server: ") == 2; });
  const Trace trace(Log());
  const auto main =
      std::find_if(trace.Lines().begin(), trace.Lines().end(),
                   [](const std::string& line) { return line.starts_with(kFirstCallOfMain); });
  if (main == trace.Lines().end()) throw std::runtime_error("the program was not started");
  const auto end = static_cast<std::size_t>(main - trace.Lines().begin());
  return static_cast<int>(trace.CountBefore(end, call + "(", "")) + 1;
}

void FaultTest::LaunchWith(const Injection& injection, Follow follow) {
  // The clearing at the start is to find something.
  stage().Write("run/store/old0", "old");
  stage().Write("run/store/old0.wav", "old");
  stage().Write("run/play/old0.wav", "old");
  const servertest::Launch plain = Plan();
  InjectFromStart(Plan(), injection, follow, Log());
  Launch();
  Plan() = plain;
}

// --- start --------------------------------------------------------------------------------------

std::string FaultTest::InjectAtStart(const Injection& injection) {
  LaunchWith(injection, Follow::kOneThread);
  const bool settled = WaitUntil([this] {
    return !server().IsRunning() || servertest::CountOf(Out(), "ka-TTS-Server: ") == 2;
  });
  EXPECT_TRUE(settled) << Out();
  const Trace trace(Log());
  injected_ = !trace.Hits().empty();
  const StartEffect effect = EffectAtStart(trace, injection);
  if (effect.MayEnd && !server().IsRunning()) {
    const std::string end = servertest::Describe(server().AwaitEnd());
    EXPECT_NE(end, "exit 0");
    return "not loaded, " + end;
  }
  EXPECT_TRUE(server().IsRunning());
  if (!server().IsRunning()) return "ended";
  ExpectStarted(effect);
  if (injection.Lasting) ExpectIdle(ProcessorSeconds(Pid()), Clock::now());
  return effect.MayEnd ? "passed over " + effect.Outcome : effect.Outcome;
}

void FaultTest::ExpectStarted(const StartEffect& effect) {
  std::size_t threads = 1;
  for (const Phase port : kPorts) {
    const int number = static_cast<int>(port) - static_cast<int>(Phase::kText) + 1;
    if (effect.NoPorts || effect.Absent.contains(number)) continue;
    EXPECT_TRUE(WaitUntil([&] { return ListensOn(Pid(), PortOf(port)); })) << NameOf(port);
    ++threads;
  }
  EXPECT_EQ(Threads(Pid()).size(), threads);
  // The standard ones, and a socket of each listener.
  EXPECT_TRUE(WaitUntil([&] { return OpenDescriptors(Pid()).size() == threads + 2; }));
  EXPECT_EQ(Err(), "");
  for (const Phase port : kPorts) {
    if (ListensOn(Pid(), PortOf(port))) {
      EXPECT_EQ(Ask(PortOf(port), "///"), kReceived);
    }
  }
  EXPECT_TRUE(WaitUntil([&] { return OpenDescriptors(Pid()).size() == threads + 2; }));
}

// --- listeners ----------------------------------------------------------------------------------

/// Connections of the last server that ended with other options than the next one has would keep
/// their port from it for a minute.
void FaultTest::TakeFreshPorts() {
  ports_.clear();
  stage().Set("reginputport", std::to_string(ports_[Phase::kText].Number()));
  stage().Set("rblinputport", std::to_string(ports_[Phase::kData].Number()));
  stage().Set("cmdinputport", std::to_string(ports_[Phase::kCommand].Number()));
}

std::string FaultTest::InjectIntoListeners(const Injection& injection) {
  TakeFreshPorts();
  LaunchWith(injection, Follow::kAllThreads);
  EXPECT_TRUE(WaitUntil([this] { return servertest::CountOf(Out(), "ka-TTS-Server: ") == 2; }));
  const ListenerEffect effect = EffectOnListeners(injection);
  for (const Phase port : kPorts) {
    for (const std::string& report : effect.SetUpReports) {
      EXPECT_TRUE(WaitUntil([&] {
        return servertest::MaskTimes(Err()).find(servertest::PortReport(PortOf(port), report)) !=
               std::string::npos;
      })) << report;
    }
    if (effect.Serves) {
      EXPECT_EQ(Ask(PortOf(port), "///"), kReceived);
    }
    EXPECT_EQ(ListensOn(Pid(), PortOf(port)), effect.Serves);
  }
  injected_ = !Trace(Log()).Hits().empty();
  const std::size_t descriptors = OpenDescriptors(Pid()).size();
  if (injected_ && (!effect.Serves || injection.Lasting)) {
    ExpectIdle(ProcessorSeconds(Pid()), Clock::now());
  }
  // At the first look a file may have been open for a moment.
  EXPECT_TRUE(WaitUntil([&] { return OpenDescriptors(Pid()).size() <= descriptors; }));
  EXPECT_EQ(Threads(Pid()).size(), 4U);
  EXPECT_TRUE(server().IsRunning());
  if (injected_) ExpectListenerReports(effect);
  return effect.Outcome;
}

void FaultTest::ExpectListenerReports(const ListenerEffect& effect) {
  std::vector<std::string> once;
  std::vector<std::string> repeated{kUnusableBlock};  // of the data port's "///" or nothing
  for (const Phase port : kPorts) {
    for (const std::string& report : effect.SetUpReports)
      once.push_back(servertest::PortReport(PortOf(port), report));
    if (!effect.FailsToAccept) continue;
    const std::vector<std::string> reports = FailedAcceptReports(PortOf(port));
    EXPECT_THAT(reports, IsSubsetOf(ComparableLines(Err())));
    repeated.insert(repeated.end(), reports.begin(), reports.end());
  }
  std::vector<std::string> rest = ComparableLines(Err());
  std::erase_if(rest, [&](const std::string& line) {
    return std::find(repeated.begin(), repeated.end(), line) != repeated.end();
  });
  EXPECT_THAT(rest, UnorderedElementsAreArray(once));
}

// --- work ---------------------------------------------------------------------------------------

unsigned FaultTest::PortOf(Phase phase) const {
  if (!ports_.empty()) return ports_.at(phase).Number();
  if (phase == Phase::kText) return stage().TextPort();
  return phase == Phase::kData ? stage().DataPort() : stage().CommandPort();
}

std::vector<std::string> FaultTest::MessagesFor(Phase phase) const {
  if (phase == Phase::kText) return {"Hallo", "Welt"};
  if (phase == Phase::kData) return {Block({"ICE 1"}), Block({"ICE 2"})};
  return {"de0", "!bell"};
}

void FaultTest::StartForWork(Phase phase) {
  Start();
  // Something to play.
  if (phase == Phase::kCommand) {
    EXPECT_EQ(AskData(Block({"ICE 0"})), kReceived);
  }
  stubs().ForgetCalls();
}

std::string FaultTest::InjectAtWork(Phase phase, const Injection& injection) {
  const Work& undisturbed = UndisturbedWork(phase);
  StartForWork(phase);
  const std::vector<int> descriptors = OpenDescriptors(Pid());
  const std::size_t listener = static_cast<std::size_t>(phase) - 1;
  auto tracer = std::make_unique<Tracer>(injection, Follow::kOneThread, Pid(),
                                         Threads(Pid()).at(listener), Log());
  std::vector<Client> clients;
  std::vector<std::string> answers;
  const auto since = Clock::now();
  const double processor = ProcessorSeconds(Pid());
  for (const std::string& message : MessagesFor(phase)) {
    clients.emplace_back(PortOf(phase));
    clients.back().Send(message);
    if (!injection.Lasting) answers.push_back(AnswerOf(clients.back()));
  }
  if (injection.Lasting) {
    ExpectIdle(processor, since);
  } else {
    // What the last message entails is over when the listener waits for the next.
    EXPECT_TRUE(tracer->AwaitSleepIn(SYS_accept4));
  }
  tracer.reset();
  if (injection.Lasting) {
    for (const Client& client : clients)
      answers.push_back(AnswerOf(client));
  }
  clients.clear();
  const Work seen = Finish(phase, answers);

  const Trace trace(Log());
  injected_ = !trace.Hits().empty();
  Effect effect;
  for (const std::size_t hit : trace.Hits())
    effect.Add(EffectAtWork(trace, hit, injection, phase, PortOf(phase)));
  ExpectDifference(seen, undisturbed, effect, injection.Lasting);
  ExpectAllPortsServe(phase);
  EXPECT_TRUE(WaitUntil([&] { return OpenDescriptors(Pid()) == descriptors; }));
  EXPECT_TRUE(server().IsRunning());
  return effect.Outcome;
}

const FaultTest::Work& FaultTest::UndisturbedWork(Phase phase) {
  const auto known = undisturbed_.find(phase);
  if (known != undisturbed_.end()) return known->second;
  StartForWork(phase);
  std::vector<std::string> answers;
  for (const std::string& message : MessagesFor(phase))
    answers.push_back(Ask(PortOf(phase), message));
  return undisturbed_[phase] = Finish(phase, answers);
}

FaultTest::Work FaultTest::Finish(Phase phase, const std::vector<std::string>& answers) {
  // What a listener has to say about a client is said before it serves the next one.
  EXPECT_EQ(Ask(PortOf(phase), "///"), kReceived);
  std::vector<std::string> programs = stubs().Calls();
  for (std::string& call : programs)
    call.erase(std::min(call.find(" ["), call.size()));
  return {answers, ComparableLines(NewErr()), programs, ComparableLines(NewOut())};
}

void FaultTest::ExpectDifference(const Work& seen, const Work& undisturbed, const Effect& effect,
                                 bool lasting) {
  const auto lost = std::count(seen.Answers.begin(), seen.Answers.end(), "");
  const auto received = std::count(seen.Answers.begin(), seen.Answers.end(), kReceived);
  EXPECT_EQ(lost > 0, effect.LosesAnswer);
  EXPECT_LE(lost, lasting ? 2 : 1);
  EXPECT_EQ(lost + received, 2) << testing::PrintToString(seen.Answers);
  ExpectReports(Surplus(seen.Reports, undisturbed.Reports), effect, lasting);
  if (effect.LeavesProgramsOut) {
    EXPECT_LT(seen.Programs.size(), undisturbed.Programs.size());
  } else {
    EXPECT_EQ(seen.Programs, undisturbed.Programs);
    if (!effect.ChangesOutput) {
      EXPECT_EQ(seen.Output, undisturbed.Output);
    }
  }
}

void FaultTest::ExpectReports(const std::vector<std::string>& surplus, const Effect& effect,
                              bool lasting) {
  if (!lasting && !effect.MayRepeat) {
    EXPECT_THAT(surplus, UnorderedElementsAreArray(effect.Reports));
    return;
  }
  EXPECT_THAT(
      effect.Reports,
      testing::Each(testing::Matcher<std::string>(testing::Truly([&](const std::string& report) {
        return std::find(surplus.begin(), surplus.end(), report) != surplus.end();
      }))));
  for (const std::string& line : surplus)
    EXPECT_THAT(effect.Reports, testing::Contains(line));
}

void FaultTest::ExpectIdle(double processorBefore, Clock::time_point since) {
  constexpr double kMost = 0.05;
  std::this_thread::sleep_until(since + std::chrono::milliseconds(1100));
  const std::chrono::duration<double> elapsed = Clock::now() - since;
  EXPECT_LT((ProcessorSeconds(Pid()) - processorBefore) / elapsed.count(), kMost);
}

void FaultTest::ExpectAllPortsServe(Phase first) {
  ExpectServed(first);
  for (const Phase port : kPorts) {
    if (port != first) ExpectServed(port);
  }
}

void FaultTest::ExpectServed(Phase phase) {
  stubs().ForgetCalls();
  const std::string message = phase == Phase::kText   ? "Danach"
                              : phase == Phase::kData ? Block({"RE 9"})
                                                      : "de0";
  EXPECT_EQ(Ask(PortOf(phase), message), kReceived);
  const char* program = phase == Phase::kText ? "speak" : phase == Phase::kData ? "save" : "aplay";
  EXPECT_FALSE(stubs().CallsOf(program).empty()) << program;
}

// --- cache timer --------------------------------------------------------------------------------

/// Arms the timer and follows the thread that waits for it, or all. \return false if that was too
/// slow: the timer has expired meanwhile
bool FaultTest::StartTimerAndTrace(const Injection& injection, Follow follow) {
  stage().Set("TimeoutCache", "1");
  Start();
  EXPECT_EQ(AskData(Block({"ICE 1"})), kReceived);
  const std::vector<pid_t> threads = Threads(Pid());
  tracer_ = std::make_unique<Tracer>(injection, follow, Pid(), threads.back(), Log());
  return threads.size() == 5 && Out().find(kTimeout) == std::string::npos;
}

void FaultTest::TraceTimer(const Injection& injection, Follow follow) {
  constexpr int kMostAttempts = 20;
  for (int attempt = 0; attempt < kMostAttempts; ++attempt) {
    if (StartTimerAndTrace(injection, follow)) return;
    tracer_.reset();
  }
  throw std::runtime_error("the timer is always faster");
}

std::string FaultTest::InjectIntoTimer(const Injection& injection) {
  TraceTimer(injection, Follow::kOneThread);
  if (injection.Lasting) {
    EXPECT_TRUE(WaitUntil([this] { return !Trace(Log()).Hits().empty(); }));
    ExpectIdle(ProcessorSeconds(Pid()), Clock::now());
    tracer_.reset();
  }
  EXPECT_TRUE(WaitUntil([this] { return IsCleared(); })) << Out();
  tracer_.reset();
  const Trace trace(Log());
  injected_ = !trace.Hits().empty();
  EXPECT_THAT(Surplus(ComparableLines(NewErr()), {kNoBackup, kNoBackup}), testing::IsEmpty());
  EXPECT_EQ(servertest::CountOf(Out(), kTimeout), 1U);
  ExpectPortsAnswer();
  const bool lost = std::any_of(trace.Hits().begin(), trace.Hits().end(), [&](std::size_t hit) {
    return CostsAThread(trace.Lines()[hit], injection);
  });
  return lost ? "expiry lost, cache cleared by the next one" : "passed over";
}

std::string FaultTest::InjectIntoExpiry(const Injection& injection) {
  TraceTimer(injection, Follow::kAllThreads);
  const std::vector<int> descriptors = OpenDescriptors(Pid());
  EXPECT_TRUE(WaitUntil(
      [this] { return Out().find(kTimeout) != std::string::npos && Threads(Pid()).size() == 5; }));
  if (injection.Lasting) ExpectIdle(ProcessorSeconds(Pid()), Clock::now());
  tracer_.reset();
  injected_ = !Trace(Log()).Hits().empty();
  const std::vector<std::string> reports =
      Surplus(ComparableLines(NewErr()), {kNoBackup, kNoBackup});
  EXPECT_TRUE(WaitUntil([&] { return OpenDescriptors(Pid()) == descriptors; }));
  ExpectPortsAnswer();
  if (!injected_) return "";
  if (injection.Call == "timer_settime") {
    const std::string report = "Error setting cache timer: " + injection.Error.Text();
    EXPECT_FALSE(reports.empty());
    EXPECT_THAT(reports, testing::Each(report));
    EXPECT_TRUE(WaitUntil([this] { return servertest::CountOf(Out(), kTimeout) >= 2; }));
    return "reported, expires once more";
  }
  EXPECT_THAT(reports, testing::IsEmpty());
  EXPECT_FALSE(IsCleared());
  return "files stay until the next clearing";
}

bool FaultTest::IsCleared() const {
  return Out().find(kTimeout) != std::string::npos && Entries(stage().Store()).empty() &&
         Entries(stage().Play()).empty() && Threads(Pid()).size() == 5;
}

void FaultTest::ExpectPortsAnswer() const {
  for (const Phase port : kPorts)
    EXPECT_EQ(Ask(PortOf(port), "///"), kReceived) << NameOf(port);
}

// --- end ----------------------------------------------------------------------------------------

std::string FaultTest::InjectAtEnd(const Injection& injection) {
  stubs().AddAt(stage().WorkDir() + "/restart", "restart");
  Start();
  stubs().ForgetCalls();
  const Tracer tracer(injection, Follow::kOneThread, Pid(), Pid(), Log());
  EXPECT_EQ(AskCommand("!restart"), kReceived);
  EXPECT_EQ(servertest::Describe(server().AwaitEnd()), "exit 0");
  const Trace trace(Log());
  injected_ = !trace.Hits().empty();
  const bool leftOut = injected_ && std::string(injection.Error.Name) != "ENOSYS";
  EXPECT_EQ(stubs().CallsOf("restart").empty(), leftOut);
  EXPECT_EQ(Err(), "");
  return leftOut ? "ends without a successor" : "passed over";
}

}  // namespace faults
