// Parsing a data block of 1, 5 and 20 rows.

#include <benchmark/benchmark.h>

#include "kaRBLDataContent.h"
#include "silence.h"
#include "worlds.h"

namespace {

void ParseBlock(benchmark::State& state) {
  const std::string block = bench::BlockText(static_cast<std::size_t>(state.range(0)));
  bench::Silence silence;
  for ([[maybe_unused]] auto iteration : state) {
    CkaRBLDataContent content;
    content.Initialize(block, false, true);
    content.ReadContent();
    benchmark::DoNotOptimize(content.GetRowCount());
    silence.Forget();
  }
  state.SetComplexityN(state.range(0));
}

BENCHMARK(ParseBlock)->Arg(1)->Arg(5)->Arg(20)->Complexity()->Unit(benchmark::kMicrosecond);

}  // namespace
