// A profile of 10 to 10,000 keys: reading it, and looking its last key up.

#include <benchmark/benchmark.h>

#include "kaProfile.h"
#include "silence.h"
#include "support/temp_dir.h"
#include "worlds.h"

namespace {

void ReadProfile(benchmark::State& state) {
  const auto keys = static_cast<std::size_t>(state.range(0));
  const support::TempDir directory;
  const std::string path = directory.Write("profile", bench::ProfileText(keys));
  bench::Silence silence;
  for ([[maybe_unused]] auto iteration : state) {
    CkaProfile profile;
    benchmark::DoNotOptimize(profile.Initialize(path));
    silence.Forget();
  }
  state.SetComplexityN(state.range(0));
}

void LookUpLastKey(benchmark::State& state) {
  const auto keys = static_cast<std::size_t>(state.range(0));
  const support::TempDir directory;
  bench::Silence silence;
  CkaProfile profile;
  profile.Initialize(directory.Write("profile", bench::ProfileText(keys)));
  const std::string last = bench::ProfileKey(keys - 1);
  for ([[maybe_unused]] auto iteration : state) {
    benchmark::DoNotOptimize(profile.GetValueString(last));
    silence.Forget();
  }
  state.SetComplexityN(state.range(0));
}

BENCHMARK(ReadProfile)->RangeMultiplier(10)->Range(10, 10'000)->Complexity();
BENCHMARK(LookUpLastKey)->RangeMultiplier(10)->Range(10, 10'000)->Complexity();

}  // namespace
