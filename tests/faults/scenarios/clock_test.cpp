// A wall clock that jumps, as when a station gets its time from the network long after it was
// started. Only the server's own view of the clock jumps here.

#include <fcntl.h>

#include <cstring>
#include <ctime>
#include <optional>

#include "fault_fixture.h"

namespace servertest {

namespace {

constexpr const char* kReadError = " --- ERROR reading from socket \n";
constexpr std::int64_t kHour = 3600;
constexpr std::int64_t kYear = kHour * 24 * 366;

class ClockJump : public FaultTest {
 protected:
  ClockJump() {
    JumpBy(0);
    Plan().Environment.push_back(std::string("LD_PRELOAD=") + KA_CLOCK_SHIM);
    Plan().Environment.push_back("KA_CLOCK_OFFSET=" + OffsetFile());
    // The sanitizer wants to be loaded before everything else.
    Plan().Environment.push_back("ASAN_OPTIONS=verify_asan_link_order=0");
  }

  /// Sets the clock to so many seconds before or after the right time.
  void JumpBy(std::int64_t seconds) const {
    std::string bytes(sizeof seconds, '\0');
    std::memcpy(bytes.data(), &seconds, sizeof seconds);
    const kaDescriptor file = OpenFile(OffsetFile().c_str(), O_WRONLY | O_CREAT);
    ASSERT_TRUE(WriteAll(file.Get(), bytes.data(), bytes.size()));
  }
  std::string OffsetFile() const { return stage().Beside("clock"); }

  /// A play list that a hanging player keeps from its end, and a block that waits for that.
  void StartWithAWaitingBlock() {
    Start();
    NoteDescriptors();
    ExpectBlockIsServed("ICE 1");
    stubs().Hold("aplay");
    list_.emplace(stage().CommandPort());
    list_->Send("de0");
    AwaitCalls("aplay", 1);
    block_.emplace(stage().DataPort());
    block_->Send(Block({"ICE 2"}));
    AwaitCalls("save", 4);
    // The wait begins right after the engine's last run has ended.
    ASSERT_TRUE(WaitUntil([this] { return StoredSpeech("en0") == StubSpeech("EN train ICE 2"); }));
  }
  const Client& WaitingBlock() const { return *block_; }
  void EndPlaying() {
    stubs().Release("aplay");
    EXPECT_EQ(list_->ReceiveAll(), kReceived);
  }

  std::string YearOfLastReport() const {
    const std::string reports = Err();
    return reports.substr(reports.rfind(kReadError) - 4, 4);
  }

 private:
  std::optional<Client> list_;
  std::optional<Client> block_;
};

std::string YearIn(std::int64_t seconds) {
  const std::time_t time = std::time(nullptr) + seconds;
  std::tm local{};
  localtime_r(&time, &local);
  return std::to_string(local.tm_year + 1900);
}

TEST_F(ClockJump, IsShownInTheReportsAndChangesNothingElse) {
  Start();
  NoteDescriptors();
  int round = 0;
  for (const std::int64_t jump : {std::int64_t{0}, kHour, -kHour, 20 * kYear, -20 * kYear}) {
    JumpBy(jump);
    ExpectAllPortsServe("ICE " + std::to_string(++round));
    EXPECT_EQ(AskCommand("de0"), kReceived);
    EXPECT_EQ(stubs().CallsOf("aplay").size(), static_cast<std::size_t>(round));
    // A connection that was reset makes a report.
    const std::size_t before = CountOf(Err(), kReadError);
    Client(stage().CommandPort()).Vanish();
    ASSERT_TRUE(WaitUntil([&] { return CountOf(Err(), kReadError) > before; }));
    EXPECT_EQ(YearOfLastReport(), YearIn(jump));
  }
  ExpectNoDescriptorIsLeft();
}

TEST_F(ClockJump, ForwardEndsTheWaitOfABlockForAPlayListAndTheNextBlockRotates) {
  StartWithAWaitingBlock();
  // The first jump may come before the wait has begun.
  std::int64_t jump = 0;
  ASSERT_TRUE(WaitUntil([&] {
    JumpBy(jump += kHour);
    return WaitingBlock().HasAnswer();
  }));
  EXPECT_EQ(WaitingBlock().ReceiveAll(), kReceived);
  EXPECT_EQ(CountOf(NewErr(), "Zu langer Abspielzeitraum. Überspielen wurde abgebrochen!!\n"), 1U);
  EXPECT_EQ(CountOf(NewOut(), kMessageOk), 2U);
  EXPECT_EQ(PlayedSpeech("de0"), StubSpeech("DE Zug ICE 1"));
  EndPlaying();
  ExpectBlockIsServed("ICE 2");
  EXPECT_EQ(stubs().CallsOf("save").size(), 4U) << "the speech was kept";
  ExpectNoDescriptorIsLeft();
}

// The limit is a time of the clock. The end of the play list ends the wait in any case.
TEST_F(ClockJump, BackwardLetsABlockWaitForTheEndOfThePlayList) {
  StartWithAWaitingBlock();
  JumpBy(-kHour);
  EXPECT_EQ(AskText("Hallo"), kReceived) << "and is dropped: the device is taken";
  EXPECT_FALSE(WaitingBlock().HasAnswer());
  EndPlaying();
  EXPECT_EQ(WaitingBlock().ReceiveAll(), kReceived);
  EXPECT_EQ(PlayedSpeech("de0"), StubSpeech("DE Zug ICE 2"));
  ExpectAllPortsServe("ICE 3");
  ExpectNoDescriptorIsLeft();
}

TEST_F(ClockJump, BackwardLetsAPlayListWaitForTheEndOfARotation) {
  Start();
  ExpectBlockIsServed("ICE 1");
  stage().Write("run/play/saveblock", "");
  const Client list(stage().CommandPort());
  list.Send("de0");
  ASSERT_TRUE(WaitUntil([this] { return NewOut().ends_with("new cmd: de0 0\n"); }));
  JumpBy(-kHour);
  EXPECT_FALSE(list.HasAnswer());
  stage().Remove("run/play/saveblock");
  EXPECT_EQ(list.ReceiveAll(), kReceived);
  EXPECT_EQ(stubs().CallsOf("aplay").size(), 1U);
}

// The quiet period is counted by the kernel, not by the time of day.
TEST_F(ClockJump, DoesNotMoveTheClearingOfTheCache) {
  if (!kTimersMayExpire) GTEST_SKIP() << "the thread sanitizer cannot watch expiring timers";
  stage().Set("TimeoutCache", "1");
  Start();
  for (const std::int64_t jump : {kHour, -kHour}) {
    const std::size_t clearings = CountOf(Out(), "***Cache Timeout***\n");
    AskData(Block({"ICE 1"}));
    JumpBy(jump);
    EXPECT_TRUE(WaitUntil([&] { return Entries(stage().Store()).empty(); }));
    EXPECT_TRUE(WaitUntil([&] { return Entries(stage().Play()).empty(); }));
    EXPECT_EQ(CountOf(Out(), "***Cache Timeout***\n"), clearings + 1);
  }
}

}  // namespace

}  // namespace servertest
