// Scans the Smart Clean catalogue of a generated home (bench/make_junk_home.py) the way
// `tidewarden junk` does, concurrently, and with the same work one step after another.
//
//   TIDEWARDEN_BENCH_HOME=/tmp/junk-home TIDEWARDEN_JUNK_TABLE=macos ./junk_scan
//       --benchmark_repetitions=10 --benchmark_report_aggregates_only=true
// (bench/junk.sh runs it that way.)
#include <benchmark/benchmark.h>

#include <cstdlib>
#include <string>

#include "junk/junk_model.h"
#include "junk/junk_scan.h"

namespace {

tw::JunkRoots benchRoots() {
  const char* home = std::getenv("TIDEWARDEN_BENCH_HOME");
  const std::string root = home != nullptr ? home : "/tmp/tw-junk-bench-home";
  return {root, root + "/.cache", root + "/.config", root + "/.local/share"};
}

const tw::JunkTable& benchTable() {
  const char* name = std::getenv("TIDEWARDEN_JUNK_TABLE");
  const tw::JunkTable* table = tw::junkTableNamed(name != nullptr ? name : "macos");
  return table != nullptr ? *table : tw::macOSJunkTable();
}

void scan(benchmark::State& state, tw::JunkScanMode mode) {
  const tw::JunkRoots roots = benchRoots();
  std::int64_t paths = 0;
  for (auto _ : state) {
    const auto categories = tw::JunkModel::makeCategories(benchTable(), roots);
    const auto result = tw::scanJunk(categories, mode);
    paths = static_cast<std::int64_t>(result.identities.size());
    benchmark::DoNotOptimize(paths);
  }
  state.counters["paths"] = static_cast<double>(paths);
}

void BM_JunkScanConcurrent(benchmark::State& state) { scan(state, tw::JunkScanMode::concurrent); }
void BM_JunkScanSequential(benchmark::State& state) { scan(state, tw::JunkScanMode::sequential); }

BENCHMARK(BM_JunkScanConcurrent)->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(BM_JunkScanSequential)->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace

BENCHMARK_MAIN();
