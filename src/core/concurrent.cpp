#include "core/concurrent.h"

#include <algorithm>
#include <atomic>
#include <thread>
#include <vector>

namespace tw {

unsigned activeProcessorCount() { return std::max(1u, std::thread::hardware_concurrency()); }

void concurrentPerform(std::size_t count, const std::function<void(std::size_t)>& body) {
  if (count == 0) return;
  const std::size_t workers = std::min<std::size_t>(count, std::max(2u * activeProcessorCount(), 4u));
  if (workers == 1) {
    body(0);
    return;
  }
  std::atomic<std::size_t> next{0};
  const auto drain = [&] {
    for (std::size_t index = next++; index < count; index = next++) body(index);
  };
  std::vector<std::jthread> threads;
  threads.reserve(workers - 1);
  for (std::size_t i = 1; i < workers; ++i) threads.emplace_back(drain);
  drain();
}

}  // namespace tw
