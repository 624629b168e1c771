// What remembering a scan adds to it, and what one background tick costs.
//
//   TW_BENCH_TREE=/tmp/tw-bench/automation-tree-2m build-release/bench/automation_bench
//
// Scan: a full DiskScanner scan of the tree (as the disk lens runs it).
// ScanAndRemember: the same scan, then ScanCache::save and Snapshots::compareAndSave, as
//   the lens does after each scan; the difference to Scan is what remembering adds.
// Remember: save and compareAndSave alone on the scanned tree, for a finer figure.
// RememberBigTree: the same on a made-up tree whose 19,531 folders are all big enough to
//   enter (far more than any real disk has), the snapshot's worst case.
// TickAllRulesOff: one Background::tick with every rule off and plenty of free space.
// Runs in a temporary home folder; the real one is never touched.
#include <benchmark/benchmark.h>
#include <stdlib.h>

#include <cstdlib>
#include <filesystem>
#include <memory>
#include <string>

#include "automation/background.h"
#include "core/scan_cache.h"
#include "core/settings.h"
#include "lens/disk_scanner.h"
#include "lens/snapshots.h"

namespace {

struct TemporaryHome {
  std::string path;
  tw::Context context;
  TemporaryHome() : path(makeFolder()), context(tw::Context::fromEnvironment({{"HOME", path}})) {}
  ~TemporaryHome() {
    std::error_code error;
    std::filesystem::remove_all(path, error);
  }
  static std::string makeFolder() {
    std::string pattern = std::filesystem::temp_directory_path().string() + "/tw-bench-automation-XXXXXX";
    return ::mkdtemp(pattern.data());
  }
};

TemporaryHome& home() {
  static TemporaryHome instance;
  return instance;
}

std::string tree() {
  const char* path = std::getenv("TW_BENCH_TREE");
  return path != nullptr ? path : "";
}

void remember(const tw::FSNode& root) {
  tw::ScanCache::save(home().context, "lens", root.size, root.itemCount);
  benchmark::DoNotOptimize(tw::Snapshots::compareAndSave(home().context, root));
}

void Scan(benchmark::State& state) {
  if (tree().empty()) return state.SkipWithError("set TW_BENCH_TREE to a folder to scan");
  for (auto _ : state) benchmark::DoNotOptimize(tw::DiskScanner().scan(tree()));
}

void ScanAndRemember(benchmark::State& state) {
  if (tree().empty()) return state.SkipWithError("set TW_BENCH_TREE to a folder to scan");
  for (auto _ : state) {
    const auto root = tw::DiskScanner().scan(tree());
    remember(*root);
  }
}

void Remember(benchmark::State& state) {
  if (tree().empty()) return state.SkipWithError("set TW_BENCH_TREE to a folder to scan");
  const auto root = tw::DiskScanner().scan(tree());
  state.counters["entries"] = static_cast<double>(root->itemCount);
  for (auto _ : state) remember(*root);
}

void addBigFolders(tw::FSNode& parent, int depth) {
  if (depth == 0) return;
  for (int i = 0; i < 5; ++i) {
    auto child = std::make_unique<tw::FSNode>("dir" + std::to_string(depth) + "-" + std::to_string(i), true, &parent);
    child->size = child->freeable = 60'000'000LL << depth;
    addBigFolders(*child, depth - 1);
    parent.children.push_back(std::move(child));
  }
}

void RememberBigTree(benchmark::State& state) {
  tw::FSNode root("/big-tree", true, nullptr);
  root.size = root.freeable = 1LL << 50;
  addBigFolders(root, 6);
  state.counters["recorded"] = static_cast<double>(tw::Snapshots::flatten(root).size());
  for (auto _ : state) remember(root);
}

// Timers that never fire: the benchmark calls tick() itself.
class IdleTimers : public tw::Timers {
 public:
  tw::Date now() const override { return std::chrono::system_clock::now(); }
  std::unique_ptr<Handle> every(std::chrono::milliseconds, std::function<void()>) override { return nullptr; }
  std::unique_ptr<Handle> after(std::chrono::milliseconds, std::function<void()>) override { return nullptr; }
};

void TickAllRulesOff(benchmark::State& state) {
  tw::Background::Services services;
  services.timers = std::make_shared<IdleTimers>();
  services.freeSpace = [] { return std::optional<std::int64_t>(500'000'000'000); };
  tw::Background background(home().context, services, [](std::function<void()>) {});
  background.start();
  for (auto _ : state) background.tick();
}

}  // namespace

BENCHMARK(Scan)->Unit(benchmark::kMillisecond)->Iterations(5);
BENCHMARK(ScanAndRemember)->Unit(benchmark::kMillisecond)->Iterations(5);
BENCHMARK(Remember)->Unit(benchmark::kMillisecond);
BENCHMARK(RememberBigTree)->Unit(benchmark::kMillisecond);
BENCHMARK(TickAllRulesOff)->Unit(benchmark::kMicrosecond);

BENCHMARK_MAIN();
