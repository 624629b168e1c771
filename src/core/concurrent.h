#pragma once

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <functional>
#include <stop_token>

namespace tw {

// The one place where work fans out over threads. Most of our work waits on the disk, so
// there are more workers than processors: max(2 × active processors, 4).
[[nodiscard]] unsigned activeProcessorCount();
[[nodiscard]] std::size_t workerCount();

// Runs `work` on `threads` threads at once (the calling thread is one of them) and returns
// when every one has returned.
void runOnWorkers(std::size_t threads, const std::function<void()>& work);

// Calls body(0) ... body(count - 1) on up to workerCount() threads and returns when every
// call has finished. Calls may run in any order. Once `stop` is requested no further call
// starts.
void concurrentPerform(std::size_t count, const std::function<void(std::size_t)>& body, std::stop_token stop = {});

// The same, with state that each worker makes once for its whole life (a read buffer,
// say) and hands to every call it makes.
template <class MakeState, class Body>
void concurrentPerformWithState(std::size_t count, const MakeState& makeState, const Body& body,
                                std::stop_token stop = {}) {
  if (count == 0) return;
  std::atomic<std::size_t> next{0};
  runOnWorkers(std::min(count, workerCount()), [&] {
    auto state = makeState();
    for (std::size_t index = next++; index < count && !stop.stop_requested(); index = next++) body(index, state);
  });
}

}  // namespace tw
