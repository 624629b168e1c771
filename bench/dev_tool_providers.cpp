// Loads the Toolchains, IDE Leftovers and Simulators screens in one process, over and over,
// as the window does: without the program's start and without writing JSON. Run it with
// HOME (and the XDG variables) pointing at a generated home (bench/make_dev_tools_home.py);
// bench/dev_tools.sh does, and sets these figures beside du's.
//
//   HOME=/tmp/tw-bench/dev-tools-50/home ./dev_tool_providers --benchmark_repetitions=5
#include <benchmark/benchmark.h>

#include <cstddef>

#include "core/context.h"
#include "screens/ide_leftovers.h"
#include "screens/simulators.h"
#include "screens/toolchains.h"

namespace {

template <class Screen>
void load(benchmark::State& state) {
  const tw::Context context = tw::Context::fromEnvironment(tw::Context::processEnvironment());
  std::size_t items = 0;
  for (auto _ : state) {
    const tw::ProviderResult result = Screen::load(context);
    items = 0;
    for (const auto& group : result.groups) items += group->items().size();
    benchmark::DoNotOptimize(items);
  }
  state.counters["items"] = static_cast<double>(items);
}

BENCHMARK(load<tw::Toolchains>)->Name("toolchains")->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(load<tw::IDELeftovers>)->Name("ide")->Unit(benchmark::kMillisecond)->UseRealTime();
BENCHMARK(load<tw::Simulators>)->Name("simulators")->Unit(benchmark::kMillisecond)->UseRealTime();

}  // namespace

BENCHMARK_MAIN();
