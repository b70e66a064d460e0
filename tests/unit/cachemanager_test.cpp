#include "kaCacheManager.h"

#include <gmock/gmock.h>
#include <sys/resource.h>

#include <atomic>
#include <chrono>
#include <filesystem>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <string>
#include <thread>
#include <type_traits>
#include <vector>

#include "support/capture_output.h"
#include "support/temp_dir.h"
#include "support/wait_until.h"

namespace {

/// The walks that the manager asks for, on whatever thread. A walk outside the test's own directory
/// is not made.
class Walks {
 public:
  void Reset(const std::string& allowedBelow) {
    const std::lock_guard lock(mutex_);
    paths_.clear();
    allowedBelow_ = allowedBelow;
    fails_ = false;
  }

  void Fail() {
    const std::lock_guard lock(mutex_);
    fails_ = true;
  }

  std::vector<std::string> Paths() {
    const std::lock_guard lock(mutex_);
    return paths_;
  }

  /// Notes a walk. \return whether it may be made; throws when the disk is to fail.
  bool Note(const std::string& root) {
    const std::lock_guard lock(mutex_);
    paths_.push_back(root);
    if (fails_) throw std::runtime_error("the disk is gone");
    return !allowedBelow_.empty() && root.starts_with(allowedBelow_);
  }

 private:
  std::mutex mutex_;
  std::vector<std::string> paths_;
  std::string allowedBelow_;
  bool fails_ = false;
};

// Never destroyed: a timer's thread may outlive main.
Walks& TheWalks() {
  static Walks* walks = new Walks;
  return *walks;
}

/// How often a null handle was to be deleted as a timer.
std::atomic<int>& NullTimersDeleted() {
  static auto* count = new std::atomic<int>(0);
  return *count;
}

}  // namespace

// The linker's names for the replaced and the replacing functions (see CMakeLists.txt).
// NOLINTBEGIN(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp)
extern "C" {

int __real_nftw(const char* path, __nftw_func_t action, int descriptors, int flags);
int __real_timer_delete(timer_t timer);

int __wrap_nftw(const char* path, __nftw_func_t action, int descriptors, int flags) {
  return TheWalks().Note(path) ? __real_nftw(path, action, descriptors, flags) : -1;
}

int __wrap_timer_delete(timer_t timer) {
  if (timer == nullptr) ++NullTimersDeleted();
  return timer == nullptr ? -1 : __real_timer_delete(timer);
}
}
// NOLINTEND(bugprone-reserved-identifier,cert-dcl37-c,cert-dcl51-cpp)

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
namespace fs = std::filesystem;

static_assert(std::has_virtual_destructor_v<CkaCacheManager>);

class CacheManagerTest : public ::testing::Test {
 protected:
  CacheManagerTest() {
    TheWalks().Reset(dir.Path());
    manager = std::make_unique<CkaCacheManager>(dir.MakeDir("play"), dir.MakeDir("store"));
  }

  void FillBoth() const {
    dir.Write("play/de0.wav", "speech");
    dir.Write("play/playblock", "blocked");
    dir.Write("store/de0", "text");
    dir.Write("store/de0.wav", "speech");
  }

  bool BothAreEmpty() const {
    return fs::is_empty(dir.Sub("play")) && fs::is_empty(dir.Sub("store"));
  }

  /// Time until the next expiry and between expiries, in seconds.
  itimerspec Countdown() const {
    itimerspec setting{};
    EXPECT_EQ(timer_gettime(manager->timerID, &setting), 0);
    return setting;
  }

  double SecondsLeft() const {
    const itimerspec setting = Countdown();
    return static_cast<double>(setting.it_value.tv_sec) +
           static_cast<double>(setting.it_value.tv_nsec) / 1e9;
  }

  bool IsDisarmed() const { return SecondsLeft() <= 0; }

  void RunHandler() const {
    sigval value{};
    value.sival_ptr = manager.get();
    CkaCacheManager::timeoutHandler(value);
  }

  support::TempDir dir;
  std::unique_ptr<CkaCacheManager> manager;
};

using CacheDirectories = CacheManagerTest;
using CacheTimer = CacheManagerTest;

constexpr const char* kTimeoutLine = "***Cache Timeout***\n";

std::size_t CountOf(const std::string& line, const std::string& text) {
  std::size_t count = 0;
  for (std::size_t at = text.find(line); at != std::string::npos; at = text.find(line, at + 1)) {
    ++count;
  }
  return count;
}

TEST_F(CacheManagerTest, BeginsWithTwoMinutesAndWithoutATimer) {
  EXPECT_EQ(manager->playPath, dir.Sub("play"));
  EXPECT_EQ(manager->storePath, dir.Sub("store"));
  EXPECT_EQ(manager->timeoutCache, 120);
  EXPECT_EQ(manager->timerID, nullptr);
}

TEST_F(CacheManagerTest, SetTimeoutStoresTheSeconds) {
  manager->setTimeout(7);
  EXPECT_EQ(manager->timeoutCache, 7);
  EXPECT_EQ(manager->timerID, nullptr);
}

// --- Clearing

TEST_F(CacheDirectories, AreEmptiedAndStay) {
  FillBoth();
  const support::CaptureOutput output;
  EXPECT_EQ(manager->clearCache(), 0);
  EXPECT_TRUE(BothAreEmpty());
  EXPECT_EQ(output.Out() + output.Err(), "");
}

TEST_F(CacheDirectories, AreClearedPlayBeforeStore) {
  manager->clearCache();
  EXPECT_THAT(TheWalks().Paths(), ElementsAre(dir.Sub("play"), dir.Sub("store")));
}

TEST_F(CacheDirectories, LoseEmptySubdirectoriesToo) {
  dir.MakeDir("store/empty");
  EXPECT_EQ(manager->clearCache(), 0);
  EXPECT_TRUE(BothAreEmpty());
}

TEST_F(CacheDirectories, LoseLinksButNotWhatTheyLeadTo) {
  dir.Write("elsewhere", "kept");
  fs::create_symlink(dir.Sub("elsewhere"), dir.Sub("store/link"));
  EXPECT_EQ(manager->clearCache(), 0);
  EXPECT_TRUE(BothAreEmpty());
  EXPECT_EQ(support::ReadFile(dir.Sub("elsewhere")), "kept");
}

TEST_F(CacheDirectories, MissingStoreGivesMinusOne) {
  FillBoth();
  fs::remove_all(dir.Sub("store"));
  const support::CaptureOutput output;
  EXPECT_EQ(manager->clearCache(), -1);
  EXPECT_TRUE(fs::is_empty(dir.Sub("play")));
  EXPECT_EQ(output.Out() + output.Err(), "");
}

TEST_F(CacheDirectories, MissingPlayDirectoryDoesNotCount) {
  FillBoth();
  fs::remove_all(dir.Sub("play"));
  EXPECT_EQ(manager->clearCache(), 0);
  EXPECT_TRUE(fs::is_empty(dir.Sub("store")));
}

// What a walk of the store directory meets, in its order.
std::vector<std::string>& WalkedPaths() {
  static std::vector<std::string>* paths = new std::vector<std::string>;
  return *paths;
}

int NotePath(const char* path, const struct stat* /*status*/, int /*type*/, FTW* position) {
  if (position->level == 1) WalkedPaths().emplace_back(path);
  return 0;
}

TEST_F(CacheDirectories, WalkStopsSilentlyAtASubdirectoryThatIsNotEmpty) {
  for (int i = 0; i < 20; ++i)
    dir.Write("store/file" + std::to_string(i), "");
  dir.Write("store/sub/inner", "");
  for (int i = 20; i < 40; ++i)
    dir.Write("store/file" + std::to_string(i), "");
  WalkedPaths().clear();
  ASSERT_EQ(nftw(manager->storePath.c_str(), NotePath, 64, 0), 0);

  const support::CaptureOutput output;
  EXPECT_EQ(manager->clearCache(), -1);
  EXPECT_EQ(output.Out() + output.Err(), "");
  EXPECT_TRUE(fs::exists(dir.Sub("store/sub/inner")));
  bool stopped = false;
  for (const std::string& path : WalkedPaths()) {
    stopped = stopped || path == dir.Sub("store/sub");
    EXPECT_EQ(fs::exists(path), stopped) << path;
  }
}

TEST_F(CacheDirectories, WalkOfThePlayDirectoryThatStopsDoesNotKeepTheStoreFromBeingCleared) {
  FillBoth();
  dir.Write("play/sub/inner", "");
  EXPECT_EQ(manager->clearCache(), 0);
  EXPECT_TRUE(fs::is_empty(dir.Sub("store")));
}

TEST_F(CacheDirectories, EmptyOrRootPathIsNotWalked) {
  manager->clearCache();
  ASSERT_THAT(TheWalks().Paths(), ::testing::SizeIs(2)) << "walks are seen by this test";
  TheWalks().Reset("");
  CkaCacheManager empty("", "");
  CkaCacheManager root("/", "/");
  const support::CaptureOutput output;
  empty.clearCache();
  root.clearCache();
  EXPECT_THAT(TheWalks().Paths(), IsEmpty());
  EXPECT_EQ(output.Out() + output.Err(), "");
}

TEST_F(CacheDirectories, EntryOfTheWalkedDirectoryItselfIsSkipped) {
  const support::CaptureOutput output;
  FTW position{0, 0};
  EXPECT_EQ(CkaCacheManager::CallBackClearCache(dir.Sub("play").c_str(), nullptr, FTW_D, &position),
            0);
  EXPECT_TRUE(fs::exists(dir.Sub("play")));
  EXPECT_EQ(output.Out() + output.Err(), "");
}

TEST_F(CacheDirectories, EntryGivesBackWhatRemoveReturned) {
  const std::string file = dir.Write("play/de0.wav", "");
  FTW position{0, 1};
  EXPECT_EQ(CkaCacheManager::CallBackClearCache(file.c_str(), nullptr, FTW_F, &position), 0);
  EXPECT_FALSE(fs::exists(file));
}

TEST_F(CacheDirectories, FailedRemovalIsMinusOneAndNeverReported) {
  FTW position{0, 1};
  const support::CaptureOutput output;
  EXPECT_EQ(CkaCacheManager::CallBackClearCache(dir.Sub("none").c_str(), nullptr, FTW_F, &position),
            -1);
  EXPECT_EQ(output.Out() + output.Err(), "");
}

// --- Timer

TEST_F(CacheTimer, StartArmsExpiryAndIntervalWithTheTimeout) {
  manager->setTimeout(1000);
  EXPECT_EQ(manager->startCacheTimer(), 0);
  ASSERT_NE(manager->timerID, nullptr);
  EXPECT_EQ(Countdown().it_interval.tv_sec, 1000);
  EXPECT_EQ(Countdown().it_interval.tv_nsec, 0);
  EXPECT_GT(SecondsLeft(), 0);
  EXPECT_LE(SecondsLeft(), 1000);
}

TEST_F(CacheTimer, StartWhileArmedRestartsTheCountdownOfTheSameTimer) {
  manager->setTimeout(1000);
  manager->startCacheTimer();
  const timer_t timer = manager->timerID;
  ASSERT_TRUE(support::WaitUntil([&] { return SecondsLeft() < 999.9; }));
  const double before = SecondsLeft();
  EXPECT_EQ(manager->startCacheTimer(), 0);
  EXPECT_GT(SecondsLeft(), before);
  EXPECT_EQ(manager->timerID, timer);
}

TEST_F(CacheTimer, NewTimeoutTakesEffectAtTheNextStart) {
  manager->setTimeout(1000);
  manager->startCacheTimer();
  manager->setTimeout(5000);
  EXPECT_LE(SecondsLeft(), 1000);
  manager->startCacheTimer();
  EXPECT_GT(SecondsLeft(), 1000);
}

// The C library starts an expiry's thread behind the thread sanitizer's back, which kills even the
// smallest program that has such a timer.
#if defined(__SANITIZE_THREAD__)
constexpr bool kTimersMayExpire = false;
#else
constexpr bool kTimersMayExpire = true;
#endif

TEST_F(CacheTimer, ExpiryClearsOnceAndDisarms) {
  if (!kTimersMayExpire) GTEST_SKIP() << "no timer may expire under the thread sanitizer";
  FillBoth();
  const support::CaptureOutput output;
  manager->setTimeout(2);
  const auto started = std::chrono::steady_clock::now();
  EXPECT_EQ(manager->startCacheTimer(), 0);
  ASSERT_TRUE(support::WaitUntil([&] { return IsDisarmed(); }));
  EXPECT_GE(std::chrono::steady_clock::now() - started, std::chrono::milliseconds(1900));
  EXPECT_TRUE(BothAreEmpty());
  EXPECT_EQ(output.Out(), kTimeoutLine);
  EXPECT_EQ(Countdown().it_interval.tv_sec, 0);

  manager->setTimeout(1000);
  EXPECT_EQ(manager->startCacheTimer(), 0);
  EXPECT_FALSE(IsDisarmed()) << "armed again";
}

TEST_F(CacheTimer, ThreeStartsClearOnceAfterTheThird) {
  if (!kTimersMayExpire) GTEST_SKIP() << "no timer may expire under the thread sanitizer";
  using Clock = std::chrono::steady_clock;
  const support::CaptureOutput output;
  manager->setTimeout(2);
  Clock::time_point last;
  bool inTime = false;
  // A machine that sleeps through a start's two seconds spoils the attempt.
  for (int attempt = 0; attempt < 10 && !inTime; ++attempt) {
    FillBoth();
    inTime = true;
    for (int start = 0; start < 3; ++start) {
      const Clock::time_point now = Clock::now();
      inTime = inTime && (start == 0 || now - last < std::chrono::milliseconds(1800));
      last = now;
      manager->startCacheTimer();
      if (start < 2) std::this_thread::sleep_for(std::chrono::seconds(1));
    }
  }
  ASSERT_TRUE(inTime);
  const std::size_t before = CountOf(kTimeoutLine, output.Out());
  ASSERT_TRUE(support::WaitUntil([&] { return IsDisarmed(); }));
  EXPECT_GE(Clock::now() - last, std::chrono::milliseconds(1900));
  EXPECT_EQ(CountOf(kTimeoutLine, output.Out()), before + 1);
  EXPECT_TRUE(BothAreEmpty());
}

TEST_F(CacheTimer, TimeoutOfZeroNeverArms) {
  manager->setTimeout(0);
  EXPECT_EQ(manager->startCacheTimer(), 0);
  EXPECT_TRUE(IsDisarmed());
}

TEST_F(CacheTimer, SetToZeroDisarms) {
  manager->setTimeout(1000);
  manager->startCacheTimer();
  EXPECT_EQ(manager->setTimer(&manager->timerID, 0), 0);
  EXPECT_TRUE(IsDisarmed());
}

TEST_F(CacheTimer, HandlerClearsAndDisarms) {
  FillBoth();
  manager->setTimeout(1000);
  manager->startCacheTimer();
  const support::CaptureOutput output;
  RunHandler();
  EXPECT_EQ(output.Out(), kTimeoutLine);
  EXPECT_EQ(output.Err(), "");
  EXPECT_TRUE(BothAreEmpty());
  EXPECT_TRUE(IsDisarmed());
}

TEST_F(CacheTimer, HandlerMayRunBesideAStart) {
  FillBoth();
  manager->setTimeout(1000);
  manager->startCacheTimer();
  const support::CaptureOutput output;
  std::thread handler([&] { RunHandler(); });
  EXPECT_EQ(manager->startCacheTimer(), 0);
  handler.join();
  EXPECT_TRUE(BothAreEmpty());
  EXPECT_EQ(output.Out(), kTimeoutLine);
}

TEST_F(CacheTimer, HandlerContainsWhatClearingThrows) {
  manager->setTimeout(1000);
  manager->startCacheTimer();
  TheWalks().Fail();
  const support::CaptureOutput output;
  EXPECT_NO_THROW(RunHandler());
  EXPECT_EQ(output.Out(), kTimeoutLine);
  EXPECT_EQ(output.Err(), "ERROR clearing cache: the disk is gone\n");
}

TEST_F(CacheTimer, TimerThatCannotBeSetIsReportedAndCounted) {
  manager->setTimeout(-1);
  const support::CaptureOutput output;
  EXPECT_EQ(manager->startCacheTimer(), 1);
  EXPECT_EQ(output.Err(), "Error setting cache timer: Invalid argument\n");
  EXPECT_EQ(output.Out(), "");
}

/// While it lives, the system has no room for a new timer.
class NoRoomForTimers {
 public:
  NoRoomForTimers() {
    getrlimit(RLIMIT_SIGPENDING, &before_);
    const rlimit none{0, before_.rlim_max};
    setrlimit(RLIMIT_SIGPENDING, &none);
  }
  ~NoRoomForTimers() { setrlimit(RLIMIT_SIGPENDING, &before_); }
  NoRoomForTimers(const NoRoomForTimers&) = delete;
  NoRoomForTimers& operator=(const NoRoomForTimers&) = delete;

 private:
  rlimit before_{};
};

TEST_F(CacheTimer, TimerThatCannotBeCreatedIsReportedWithoutABlank) {
  const NoRoomForTimers none;
  const support::CaptureOutput output;
  timer_t timer = nullptr;
  EXPECT_EQ(manager->createTimer(&timer), 1);
  EXPECT_EQ(output.Err(), "Error creating cache timerResource temporarily unavailable\n");
  EXPECT_EQ(output.Out(), "");
}

TEST_F(CacheTimer, FailuresOfAStartAreAddedUp) {
  const NoRoomForTimers none;
  manager->setTimeout(1000);
  const support::CaptureOutput output;
  EXPECT_EQ(manager->startCacheTimer(), 2);
  EXPECT_EQ(output.Err(),
            "Error creating cache timerResource temporarily unavailable\n"
            "Error setting cache timer: Invalid argument\n");
  EXPECT_EQ(manager->timerID, nullptr);
}

TEST_F(CacheTimer, StartAfterAFailedOneTriesToCreateAgain) {
  const support::CaptureOutput quiet;
  manager->setTimeout(1000);
  {
    const NoRoomForTimers none;
    EXPECT_EQ(manager->startCacheTimer(), 2);
  }
  EXPECT_EQ(manager->startCacheTimer(), 0);
  EXPECT_FALSE(IsDisarmed());
}

TEST_F(CacheTimer, DestructorLeavesOtherTimersAloneWhenItHasNone) {
  manager->setTimeout(1000);
  manager->startCacheTimer();
  { const CkaCacheManager withoutTimer(dir.Sub("play"), dir.Sub("store")); }
  EXPECT_EQ(NullTimersDeleted(), 0) << "a null handle may be another object's timer";
  EXPECT_GT(SecondsLeft(), 0);
}

TEST_F(CacheTimer, DestructorDeletesItsTimer) {
  const std::string list = "/proc/self/timers";
  if (!fs::exists(list)) GTEST_SKIP() << "this kernel does not list timers";
  manager->setTimeout(1000);
  manager->startCacheTimer();
  const std::size_t before = CountOf("signal: ", support::ReadFile(list));
  EXPECT_GE(before, 1U);
  manager.reset();
  EXPECT_EQ(CountOf("signal: ", support::ReadFile(list)), before - 1);
}

}  // namespace
