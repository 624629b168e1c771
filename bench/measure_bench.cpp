// measure(paths:) over 10,000 small folders against measuring them one after another.
// Runs in a temporary folder; the real home is never touched.
#include <benchmark/benchmark.h>
#include <stdlib.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "core/measure.h"
#include "lens/disk_scanner.h"

namespace {

constexpr int folderCount = 10'000;

struct SmallFolders {
  std::string root;
  std::vector<std::string> paths;
  SmallFolders() {
    std::string pattern = std::filesystem::temp_directory_path().string() + "/tw-bench-XXXXXX";
    root = ::mkdtemp(pattern.data());
    for (int i = 0; i < folderCount; ++i) {
      const std::string folder = root + "/projects/p" + std::to_string(i);
      std::filesystem::create_directories(folder + "/build");
      std::ofstream(folder + "/build/out.o") << std::string(3000, 'x');
      std::ofstream(folder + "/notes.txt") << "small";
      paths.push_back(folder);
    }
  }
  ~SmallFolders() {
    std::error_code error;
    std::filesystem::remove_all(root, error);
  }
};

SmallFolders& folders() {
  static SmallFolders instance;
  return instance;
}

void measureConcurrently(benchmark::State& state) {
  const auto& paths = folders().paths;
  for (auto _ : state) {
    auto results = tw::measure(paths);
    benchmark::DoNotOptimize(results);
  }
  state.SetItemsProcessed(state.iterations() * folderCount);
}

void measureOneAfterAnother(benchmark::State& state) {
  const auto& paths = folders().paths;
  for (auto _ : state) {
    std::int64_t total = 0;
    for (const auto& path : paths) total += tw::DiskScanner::usage(path).first;
    benchmark::DoNotOptimize(total);
  }
  state.SetItemsProcessed(state.iterations() * folderCount);
}

}  // namespace

BENCHMARK(measureOneAfterAnother)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime()
    ->Repetitions(5)
    ->ReportAggregatesOnly(true);
BENCHMARK(measureConcurrently)
    ->Unit(benchmark::kMillisecond)
    ->UseRealTime()
    ->Repetitions(5)
    ->ReportAggregatesOnly(true);
BENCHMARK_MAIN();
