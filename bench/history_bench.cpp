// Cost of one History.record and one read-back against a full log of 5000 entries.
// Runs in a temporary home folder; the real one is never touched.
#include <benchmark/benchmark.h>
#include <stdlib.h>

#include <filesystem>
#include <string>

#include "core/history.h"

namespace {

struct TemporaryHome {
  std::string path;
  TemporaryHome() {
    std::string pattern = std::filesystem::temp_directory_path().string() + "/tw-bench-XXXXXX";
    path = ::mkdtemp(pattern.data());
    ::setenv("HOME", path.c_str(), 1);
    ::setenv("XDG_DATA_HOME", (path + "/.local/share").c_str(), 1);
    ::setenv("XDG_CONFIG_HOME", (path + "/.config").c_str(), 1);
    ::unsetenv("TIDEWARDEN_SNAPSHOT");
  }
  ~TemporaryHome() {
    std::error_code error;
    std::filesystem::remove_all(path, error);
  }
};

TemporaryHome& home() {
  static TemporaryHome instance;
  return instance;
}

void fillLog() {
  (void)home();
  if (tw::History::entries().size() >= tw::History::cap) return;
  for (std::size_t i = tw::History::entries().size(); i < tw::History::cap; ++i) {
    tw::History::record("Developer", "node_modules in project " + std::to_string(i), 123'456'789,
                        i % 2 ? std::optional<std::string>("Run npm install") : std::nullopt);
  }
}

void recordIntoFullLog(benchmark::State& state) {
  fillLog();
  for (auto _ : state) {
    tw::History::record("Developer", "DerivedData", 987'654'321, "Rebuilt on the next Xcode build");
  }
  state.counters["entries"] = static_cast<double>(tw::History::entries().size());
}

void readFullLog(benchmark::State& state) {
  fillLog();
  for (auto _ : state) {
    auto entries = tw::History::entries();
    benchmark::DoNotOptimize(entries);
  }
}

}  // namespace

BENCHMARK(recordIntoFullLog)->Unit(benchmark::kMillisecond)->Repetitions(5)->ReportAggregatesOnly(true);
BENCHMARK(readFullLog)->Unit(benchmark::kMillisecond)->Repetitions(5)->ReportAggregatesOnly(true);
BENCHMARK_MAIN();
