// An announcement document of 10 to 10,000 cases, or of 10 to 1,000 announcements per language,
// read by all four readers: what it adds to a start.

#include <benchmark/benchmark.h>

#include "readers.h"
#include "silence.h"
#include "support/temp_dir.h"
#include "worlds.h"

namespace {

void ReadAll(benchmark::State& state, const bench::DocumentShape& shape) {
  const support::TempDir directory;
  const std::string path = directory.Write("station.xml", bench::DocumentText(shape));
  bench::Silence silence;
  for ([[maybe_unused]] auto iteration : state) {
    CkaSpeechbuilder builder;
    bench::ReadDocument(builder, path);
    silence.Forget();
  }
  state.SetComplexityN(state.range(0));
}

void ReadDocumentByCases(benchmark::State& state) {
  ReadAll(state, {.Cases = static_cast<std::size_t>(state.range(0))});
}

void ReadDocumentByAnnouncements(benchmark::State& state) {
  ReadAll(state, {.Announcements = static_cast<std::size_t>(state.range(0))});
}

BENCHMARK(ReadDocumentByCases)
    ->RangeMultiplier(10)
    ->Range(10, 10'000)
    ->Complexity()
    ->Unit(benchmark::kMicrosecond);
BENCHMARK(ReadDocumentByAnnouncements)
    ->RangeMultiplier(10)
    ->Range(10, 1'000)
    ->Complexity()
    ->Unit(benchmark::kMicrosecond);

}  // namespace
