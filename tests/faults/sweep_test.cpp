// One system call of the server fails at a time: what its words are, and that it goes on.

#include <cerrno>

#include "sweep_fixture.h"

namespace faults {

namespace {

// --- loading and start --------------------------------------------------------------------------

using Loading = FaultTest;

TEST_F(Loading, WithoutMemoryEndsTheProcess) {
  ExpectNotLoaded({"mmap", {"ENOMEM", ENOMEM}, 3});
}

TEST_F(Loading, WithoutALibraryEndsTheProcess) {
  // The first is a list of libraries, which are found without it, too.
  ExpectNotLoaded({"openat", {"ENOENT", ENOENT}, 2, true});
}

TEST_F(Loading, OfAnUnreadableLibraryEndsTheProcess) {
  ExpectNotLoaded({"read", {"EIO", EIO}, 1});
}

using StartFault = FaultTest;

TEST_F(StartFault, UnreadableConfigurationLeavesTheProcessWithoutPorts) {
  ExpectInjected(Phase::kStart, "read", FirstCallOfMain("read"), "empty configuration, no ports");
}

TEST_F(StartFault, LastingLackOfDescriptorsLeavesTheProcessWithoutPorts) {
  ExpectLasting(Phase::kStart, "openat", FirstCallOfMain("openat"),
                "empty configuration, no ports");
}

TEST_F(StartFault, ThreadThatIsNotCreatedLeavesItsListenerAbsent) {
  ExpectInjected(Phase::kStart, "clone3", 2, "listener absent, the others serve");
}

TEST_F(StartFault, ThreadWithoutAStackLeavesItsListenerAbsent) {
  ExpectInjected(Phase::kStart, "mmap", FirstCallOfMain("mmap"),
                 "listener absent, the others serve");
}

TEST_F(StartFault, FileThatCannotBeClearedIsPassedOver) {
  ExpectInjected(Phase::kStart, "unlink", 1, "passed over");
}

// --- listeners ----------------------------------------------------------------------------------

using ListenerFault = FaultTest;

TEST_F(ListenerFault, WithoutASocketEachStepIsReportedAndTheThreadGoesOn) {
  ExpectInjected(Phase::kListeners, "socket", 1, "reported, listeners without their ports");
}

TEST_F(ListenerFault, RefusedAddressReuseIsReportedAndThePortServes) {
  ExpectInjected(Phase::kListeners, "setsockopt", 1, "reported, ports served");
}

TEST_F(ListenerFault, RefusedPortReuseIsReportedAndThePortServes) {
  ExpectInjected(Phase::kListeners, "setsockopt", 2, "reported, ports served");
}

TEST_F(ListenerFault, PortThatCannotBeBoundIsReportedAndMissing) {
  ExpectInjected(Phase::kListeners, "bind", 1, "reported, listeners without their ports");
}

TEST_F(ListenerFault, SecondBindFailsSilently) {
  ExpectLasting(Phase::kListeners, "bind", 1, "reported, listeners without their ports");
}

TEST_F(ListenerFault, UnreadableTimeZoneIsPassedOver) {
  ExpectInjected(Phase::kListeners, "openat", 1, "passed over");
}

TEST_F(ListenerFault, FailedListenIsMadeUpForByTheNextPass) {
  ExpectInjected(Phase::kListeners, "listen", 1, "reported, ports served by the next pass");
}

TEST_F(ListenerFault, LastingFailureToListenCostsNoProcessorTime) {
  ExpectLasting(Phase::kListeners, "listen", 1, "reported, listeners without their ports");
}

// --- connections --------------------------------------------------------------------------------

class ConnectionFault : public FaultTest, public testing::WithParamInterface<Phase> {};

TEST_P(ConnectionFault, FailedAcceptIsReportedAndTheClientServedByTheNext) {
  ExpectInjected(GetParam(), "accept4", 1, "reported, client served by the next pass");
}

TEST_P(ConnectionFault, UnreadableMessageIsReportedAndItsSenderAnswered) {
  ExpectInjected(GetParam(), "read", 1, "reported, message lost, client answered");
}

TEST_P(ConnectionFault, AnswerThatCannotBeSentIsReported) {
  ExpectInjected(GetParam(), "sendto", 1, "reported, client without answer");
}

TEST_P(ConnectionFault, KeepAliveFailsSilently) {
  ExpectLasting(GetParam(), "setsockopt", 1, "passed over");
}

TEST_P(ConnectionFault, RepeatedListenFailsSilently) {
  ExpectLasting(GetParam(), "listen", 1, "passed over");
}

TEST_P(ConnectionFault, LastingFailureToAcceptCostsNoProcessorTime) {
  ExpectLasting(GetParam(), "accept4", 1, "reported, client served by the next pass");
}

INSTANTIATE_TEST_SUITE_P(Ports, ConnectionFault,
                         testing::Values(Phase::kText, Phase::kData, Phase::kCommand),
                         [](const auto& port) { return std::string(NameOf(port.param)); });

// --- programs and files -------------------------------------------------------------------------

using ProgramFault = FaultTest;

TEST_F(ProgramFault, EngineThatCannotBeStartedIsLeftOut) {
  ExpectInjected(Phase::kText, "clone3", 1, "command left out");
}

TEST_F(ProgramFault, ProgramsThatCannotBeStartedForABlockAreLeftOut) {
  ExpectInjected(Phase::kData, "clone3", 1, "command left out");
}

TEST_F(ProgramFault, PlayerWithoutMemoryIsLeftOut) {
  // The first one may be for memory of the thread's own, without which it does as well.
  ExpectInjectedWithin(Phase::kCommand, "mmap", 2, "command left out");
}

TEST_F(ProgramFault, RestartScriptThatCannotBeStartedEndsTheServerAllTheSame) {
  ExpectInjected(Phase::kEnd, "clone3", 1, "ends without a successor");
}

using FileFault = FaultTest;

TEST_F(FileFault, BackupThatCannotBeReadIsWrittenAnew) {
  ExpectInjected(Phase::kData, "openat", 4, "backup taken for empty");
}

TEST_F(FileFault, BackupThatCannotBeWrittenIsMissedByTheNextBlock) {
  ExpectInjected(Phase::kData, "openat", 1, "passed over, next block finds no backup");
}

TEST_F(FileFault, SaveMarkerThatStaysGoesWithTheNextBlock) {
  ExpectInjected(Phase::kData, "unlink", 1, "save marker stays until the next block");
}

TEST_F(FileFault, PlayMarkerThatStaysGoesWithTheNextPlayList) {
  ExpectInjected(Phase::kCommand, "unlink", 1, "play marker stays until the next play list");
}

// --- cache timer --------------------------------------------------------------------------------

using TimerFault = FaultTest;

TEST_F(TimerFault, TimerThatCannotBeCreatedIsReportedThreefold) {
  ExpectInjected(Phase::kData, "timer_create", 1, "reported, cache not cleared by time");
}

TEST_F(TimerFault, TimerThatCannotBeSetIsReported) {
  ExpectInjected(Phase::kData, "timer_settime", 1, "reported, cache not cleared by time");
}

// The sixth program thread or command of a block: two engines, deletion and two copies come first.
TEST_F(TimerFault, WithoutTheLibrarysThreadIsReportedWithEveryBlock) {
  ExpectInjected(Phase::kData, "clone3", 6,
                 "reported with every block until a restart, cache not cleared by time");
}

TEST_F(TimerFault, ExpiryWithoutAThreadIsMadeUpForByTheNext) {
  ExpectInjected(Phase::kTimer, "clone3", 1, "expiry lost, cache cleared by the next one");
}

TEST_F(TimerFault, FilesThatCannotBeRemovedStaySilently) {
  ExpectInjected(Phase::kExpiry, "unlink", 1, "files stay until the next clearing");
}

TEST_F(TimerFault, TimerThatCannotBeDisarmedIsReportedAndExpiresOnceMore) {
  ExpectInjected(Phase::kExpiry, "timer_settime", 1, "reported, expires once more");
}

// --- everything ---------------------------------------------------------------------------------

class FullSweep : public FaultTest, public testing::WithParamInterface<std::size_t> {};

TEST_P(FullSweep, EveryCallWithEveryErrorHasItsWordsAndTheServerGoesOn) {
  Sweep(AllRows().at(GetParam()));
}

std::string RowName(const testing::TestParamInfo<std::size_t>& row) {
  return std::string(NameOf(AllRows().at(row.param).Phase)) + "_" + AllRows().at(row.param).Call;
}

INSTANTIATE_TEST_SUITE_P(Rows, FullSweep, testing::Range<std::size_t>(0, AllRows().size()),
                         RowName);

}  // namespace

}  // namespace faults
