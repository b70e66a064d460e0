// A message catalogue up to the hundred rows that it can hold: reading it, and its last message.

#include <benchmark/benchmark.h>

#include "kaMessageTxt.h"
#include "silence.h"
#include "support/temp_dir.h"
#include "worlds.h"

namespace {

void ReadCatalogue(benchmark::State& state) {
  const auto rows = static_cast<std::size_t>(state.range(0));
  const support::TempDir directory;
  const std::string path = directory.Write("catalogue", bench::CatalogueText(rows));
  bench::Silence silence;
  for ([[maybe_unused]] auto iteration : state) {
    CkaMessageTxt catalogue;
    benchmark::DoNotOptimize(catalogue.AddLanguageItem(path));
    silence.Forget();
  }
  state.SetComplexityN(state.range(0));
}

void GiveLastMessage(benchmark::State& state) {
  const auto rows = static_cast<std::size_t>(state.range(0));
  const support::TempDir directory;
  const bench::Silence silence;
  CkaMessageTxt catalogue;
  catalogue.AddLanguageItem(directory.Write("catalogue", bench::CatalogueText(rows)));
  const unsigned last = bench::CatalogueClass(rows - 1);
  for ([[maybe_unused]] auto iteration : state) {
    benchmark::DoNotOptimize(
        catalogue.GiveOutAsString(0, last, static_cast<unsigned>((rows - 1) % 10)));
  }
  state.SetComplexityN(state.range(0));
}

BENCHMARK(ReadCatalogue)->Arg(10)->Arg(20)->Arg(50)->Arg(100)->Complexity();
BENCHMARK(GiveLastMessage)->Arg(10)->Arg(20)->Arg(50)->Arg(100)->Complexity();

}  // namespace
