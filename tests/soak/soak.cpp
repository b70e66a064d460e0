// ka-soak SECONDS CACHE_SECONDS JUDGE: a station under mixed load on all three ports.
//
// Every ten seconds the load pauses and the server is looked at; every minute a line is printed,
// and at the end the sum. Status 1 when a message was not answered, when descriptors or threads are
// not what they were, when a sanitizer reported something, when the server did not end as told, or
// (with "yes" as JUDGE, from twenty minutes on) when its anonymous memory grows by 100 KB an hour.

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <vector>

#include "load.h"
#include "probe.h"
#include "station.h"
#include "support/loopback.h"
#include "support/wait_until.h"
#include "trend.h"

namespace soak {

namespace {

using Clock = std::chrono::steady_clock;

constexpr double kMostGrowth = 100;  // KB an hour
constexpr int kLeastJudged = 1200;   // seconds
constexpr auto kSampleInterval = std::chrono::seconds(10);

struct Plan {
  int Seconds = 0;
  int CacheSeconds = 0;
  bool JudgesMemory = false;

  /// First use of everything takes memory: what comes before this is not judged.
  double WarmUp() const { return std::min(120.0, Seconds / 3.0); }
};

class Soak {
 public:
  explicit Soak(const Plan& plan)
      : plan_(plan),
        station_(plan.CacheSeconds),
        text_("text", station_.Stage().TextPort(), TextMessages(1)),
        data_("data", station_.Stage().DataPort(),
              DataMessages(2, std::chrono::milliseconds(1000 * plan.CacheSeconds + 500))),
        command_("command", station_.Stage().CommandPort(), CommandMessages(3)) {}

  /// \return whether all is well
  bool Run() {
    PrintHeading();
    double nextLine = 60;
    for (auto due = start_ + kSampleInterval; Seconds() < plan_.Seconds && station_.IsRunning();
         due += kSampleInterval) {
      std::this_thread::sleep_until(due);
      TakeSample();
      if (Seconds() < nextLine) continue;
      PrintLine();
      nextLine += 60;
    }
    return Judge();
  }

 private:
  std::array<Load*, 3> Loads() { return {&text_, &data_, &command_}; }
  double Seconds() const { return std::chrono::duration<double>(Clock::now() - start_).count(); }

  /// Looks at the server while nothing is under way. A thread on which the timer has expired may
  /// take a moment to end.
  void TakeSample() {
    const std::scoped_lock quiet(text_.Busy(), data_.Busy(), command_.Busy());
    now_ = Probe(station_.Pid());
    if (Seconds() < plan_.WarmUp()) return;
    if (first_.Threads == 0) {
      support::WaitUntil([this] { return IsSettled(); });
      first_ = now_;
    }
    support::WaitUntil([this] {
      now_ = Probe(station_.Pid());
      return IsUnchanged();
    });
    if (!IsUnchanged()) ++changes_;
    anonymous_.push_back({Seconds(), now_.AnonymousKb});
    resident_.push_back({Seconds(), now_.ResidentKb});
  }
  bool IsUnchanged() const {
    return now_.Threads == first_.Threads && now_.Descriptors == first_.Descriptors;
  }
  /// Whether what is held stays the same for a while.
  bool IsSettled() {
    const Holdings before = now_;
    std::this_thread::sleep_for(std::chrono::milliseconds(300));
    now_ = Probe(station_.Pid());
    return now_.Threads == before.Threads && now_.Descriptors == before.Descriptors;
  }

  std::size_t Failures() {
    std::size_t sum = 0;
    for (const Load* load : Loads())
      sum += load->Failures();
    return sum;
  }

  void PrintHeading() const {
    std::printf("%7s %8s %8s %8s %8s %8s %7s %7s %9s %9s %5s\n", "seconds", "text", "data",
                "command", "failed", "cleared", "descr.", "threads", "RSS KB", "anon KB", "CPU");
  }
  void PrintLine() {
    const double share = ProcessorSecondsWithChildren(station_.Pid()) / Seconds();
    std::printf("%7.0f %8zu %8zu %8zu %8zu %8zu %7zu %7zu %9.0f %9.0f %4.0f%%\n", Seconds(),
                text_.Messages(), data_.Messages(), command_.Messages(), Failures(),
                station_.CacheClearings(), now_.Descriptors, now_.Threads, now_.ResidentKb,
                now_.AnonymousKb, 100 * share);
    std::fflush(stdout);
  }

  static void PrintTrend(const char* name, const std::vector<Sample>& samples) {
    if (samples.empty()) return;
    const auto less = [](const Sample& a, const Sample& b) { return a.Value < b.Value; };
    const auto [least, most] = std::minmax_element(samples.begin(), samples.end(), less);
    std::printf("%s: %.0f KB first, %.0f least, %.0f most, %.0f last; slope %+.1f KB an hour\n",
                name, samples.front().Value, least->Value, most->Value, samples.back().Value,
                SlopePerHour(samples));
    const auto step =
        std::adjacent_find(samples.begin(), samples.end(),
                           [](const Sample& a, const Sample& b) { return a.Value != b.Value; });
    if (step != samples.end()) std::printf("  first change after %.0f s\n", (step + 1)->Seconds);
    const auto lastStep =
        std::adjacent_find(samples.rbegin(), samples.rend(),
                           [](const Sample& a, const Sample& b) { return a.Value != b.Value; });
    if (lastStep != samples.rend()) std::printf("  last change after %.0f s\n", lastStep->Seconds);
  }

  std::string Terminate() {
    support::Exchange(station_.Stage().CommandPort(), "!terminate");
    return station_.AwaitEnd();
  }

  bool Judge() {
    PrintLine();
    for (Load* load : Loads())
      load->Stop();
    const bool alive = station_.IsRunning();
    std::printf("\nBlocks: %zu made, %zu refused. Cache cleared %zu times by its timer.\n",
                station_.GoodBlocks(), station_.RefusedBlocks(), station_.CacheClearings());
    std::printf("After the first %.0f s, %zu looks at the server between messages:\n",
                plan_.WarmUp(), anonymous_.size());
    PrintTrend("Resident memory", resident_);
    PrintTrend("Anonymous memory", anonymous_);
    std::printf("Descriptors %zu, threads %zu; %zu looks found others\n", first_.Descriptors,
                first_.Threads, changes_);
    const std::size_t failures = Failures();
    const std::string end = alive ? Terminate() : station_.AwaitEnd();
    std::printf("The server's end: %s\n", end.c_str());

    bool good = true;
    const auto require = [&good](bool condition, const char* complaint) {
      if (!condition) std::printf("FAILED: %s\n", complaint);
      good = good && condition;
    };
    require(alive, "the server has gone");
    require(failures == 0, "an answer is missing");
    require(changes_ == 0, "descriptors or threads are not constant");
    require(station_.SanitizerLines() == 0, "a sanitizer has reported");
    require(end == "exit 0", "the server did not end as it was told to");
    if (plan_.JudgesMemory && plan_.Seconds < kLeastJudged) {
      std::puts(
          "Too short to judge the memory: in less than twenty minutes two pages make a steep "
          "slope.");
    } else if (plan_.JudgesMemory) {
      require(SlopePerHour(anonymous_) < kMostGrowth, "memory grows by 100 KB an hour or more");
    }
    if (good) std::puts("All is well.");
    return good;
  }

  Plan plan_;
  Station station_;
  Load text_;
  Load data_;
  Load command_;
  const Clock::time_point start_ = Clock::now();
  Holdings now_;
  Holdings first_;
  std::size_t changes_ = 0;
  std::vector<Sample> resident_;
  std::vector<Sample> anonymous_;
};

}  // namespace

}  // namespace soak

int main(int argc, char** argv) {
  if (argc != 4) {
    std::fputs("usage: ka-soak SECONDS CACHE_SECONDS yes|no\n", stderr);
    return 2;
  }
  const soak::Plan plan{std::atoi(argv[1]), std::atoi(argv[2]), std::strcmp(argv[3], "yes") == 0};
  return soak::Soak(plan).Run() ? EXIT_SUCCESS : EXIT_FAILURE;
}
