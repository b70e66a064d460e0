// One data row against documents of 10 to 10,000 cases, or of 10 to 1,000 announcements: checking
// its cases and composing its texts in two languages.

#include <benchmark/benchmark.h>

#include "kaCaseCheck.h"
#include "kaRBLDataContent.h"
#include "readers.h"
#include "silence.h"
#include "support/temp_dir.h"
#include "worlds.h"

namespace {

void ComposeRow(benchmark::State& state, const bench::DocumentShape& shape) {
  const support::TempDir directory;
  bench::Silence silence;
  CkaSpeechbuilder builder;
  bench::ReadDocument(builder, directory.Write("station.xml", bench::DocumentText(shape)));
  CkaRBLDataContent content;
  content.Initialize(bench::BlockText(1), false, true);
  content.ReadContent();
  const kaCaseIndex index(builder.CaseData);
  for ([[maybe_unused]] auto iteration : state) {
    CkaCaseCheck cases;
    cases.Initialize(&builder.CaseData, &content, &index);
    cases.CheckForRow(0);
    for (int language = 0; language < 2; ++language) {
      std::vector<kaReport> reports;
      benchmark::DoNotOptimize(builder.ComposeText(content, cases, 0, language, reports));
    }
    silence.Forget();
  }
  state.SetComplexityN(state.range(0));
}

void RowByCases(benchmark::State& state) {
  ComposeRow(state, {.Cases = static_cast<std::size_t>(state.range(0))});
}

void RowByAnnouncements(benchmark::State& state) {
  ComposeRow(state, {.Announcements = static_cast<std::size_t>(state.range(0))});
}

BENCHMARK(RowByCases)
    ->RangeMultiplier(10)
    ->Range(10, 10'000)
    ->Complexity()
    ->Unit(benchmark::kMicrosecond);
BENCHMARK(RowByAnnouncements)
    ->RangeMultiplier(10)
    ->Range(10, 1'000)
    ->Complexity()
    ->Unit(benchmark::kMicrosecond);

}  // namespace
