// A value of 10 to 1,000 bytes through a lexicon of 10 to 10,000 entries: the file changed just
// before each use, and unchanged for more than two seconds.

#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <sys/stat.h>

#include <chrono>
#include <map>
#include <string>
#include <thread>

#include "kaSpeechbuilder.h"
#include "silence.h"
#include "support/temp_dir.h"
#include "worlds.h"

namespace {

constexpr std::size_t kLargest = 10'000;

/// Lexica of all sizes, more than two seconds old.
class Lexica {
 public:
  Lexica() {
    for (std::size_t entries = 10; entries <= kLargest; entries *= 10) {
      paths_[entries] =
          directory_.Write("lexicon" + std::to_string(entries), bench::LexiconText(entries));
    }
    // The time of change cannot be set back.
    std::this_thread::sleep_for(std::chrono::milliseconds(2100));
  }
  const std::string& Path(std::size_t entries) const { return paths_.at(entries); }

 private:
  support::TempDir directory_;
  std::map<std::size_t, std::string> paths_;
};

/// Made by main.
const Lexica* gLexica = nullptr;

void Apply(benchmark::State& state, bool touched) {
  const auto entries = static_cast<std::size_t>(state.range(0));
  const std::string value = bench::LexiconValue(static_cast<std::size_t>(state.range(1)), kLargest);
  const std::string& path = gLexica->Path(entries);
  const CkaSpeechbuilder builder;
  bench::Silence silence;
  for ([[maybe_unused]] auto iteration : state) {
    if (touched) utimensat(AT_FDCWD, path.c_str(), nullptr, 0);
    benchmark::DoNotOptimize(builder.UseLexicon(value, path));
    silence.Forget();
  }
  state.SetComplexityN(state.range(0));
}

void LoadedLexicon(benchmark::State& state) {
  Apply(state, true);
}

void CachedLexicon(benchmark::State& state) {
  Apply(state, false);
}

BENCHMARK(LoadedLexicon)
    ->ArgsProduct({{10, 100, 1'000, 10'000}, {10}})
    ->Complexity()
    ->Unit(benchmark::kMicrosecond);
BENCHMARK(LoadedLexicon)
    ->Name("LoadedLexiconLongValue")
    ->ArgsProduct({{10, 100, 1'000, 10'000}, {1'000}})
    ->Complexity()
    ->Unit(benchmark::kMicrosecond);
BENCHMARK(CachedLexicon)
    ->ArgsProduct({{10, 100, 1'000, 10'000}, {10}})
    ->Complexity()
    ->Unit(benchmark::kMicrosecond);
BENCHMARK(CachedLexicon)
    ->Name("CachedLexiconMiddleValue")
    ->ArgsProduct({{10, 100, 1'000, 10'000}, {100}})
    ->Complexity()
    ->Unit(benchmark::kMicrosecond);
BENCHMARK(CachedLexicon)
    ->Name("CachedLexiconLongValue")
    ->ArgsProduct({{10, 100, 1'000, 10'000}, {1'000}})
    ->Complexity()
    ->Unit(benchmark::kMicrosecond);

}  // namespace

int main(int argc, char** argv) {
  const Lexica lexica;
  gLexica = &lexica;
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  return 0;
}
