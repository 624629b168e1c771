// Cost of one History.record and one read-back against a full log of 5000 entries.
// Runs in a temporary home folder; the real one is never touched.
#include <benchmark/benchmark.h>
#include <stdlib.h>

#include <filesystem>
#include <string>
#include <vector>

#include "core/history.h"

namespace {

struct TemporaryHome {
  std::string path;
  tw::History history;
  TemporaryHome() : path(makeFolder()), history(path + "/.local/share/Tidewarden", true) {}
  ~TemporaryHome() {
    std::error_code error;
    std::filesystem::remove_all(path, error);
  }

  static std::string makeFolder() {
    std::string pattern = std::filesystem::temp_directory_path().string() + "/tw-bench-XXXXXX";
    return ::mkdtemp(pattern.data());
  }
};

tw::History& history() {
  static TemporaryHome instance;
  return instance.history;
}

void fillLog() {
  if (history().entries().size() >= tw::History::cap) return;
  std::vector<tw::HistoryRecord> records;
  for (std::size_t i = history().entries().size(); i < tw::History::cap; ++i) {
    records.push_back({"Developer", "node_modules in project " + std::to_string(i), 123'456'789,
                       i % 2 ? std::optional<std::string>("Run npm install") : std::nullopt});
  }
  history().record(records);
}

void recordIntoFullLog(benchmark::State& state) {
  fillLog();
  for (auto _ : state) {
    history().record("Developer", "DerivedData", 987'654'321, "Rebuilt on the next Xcode build");
  }
  state.counters["entries"] = static_cast<double>(history().entries().size());
}

void readFullLog(benchmark::State& state) {
  fillLog();
  for (auto _ : state) {
    auto entries = history().entries();
    benchmark::DoNotOptimize(entries);
  }
}

}  // namespace

BENCHMARK(recordIntoFullLog)->Unit(benchmark::kMillisecond)->Repetitions(5)->ReportAggregatesOnly(true);
BENCHMARK(readFullLog)->Unit(benchmark::kMillisecond)->Repetitions(5)->ReportAggregatesOnly(true);
BENCHMARK_MAIN();
