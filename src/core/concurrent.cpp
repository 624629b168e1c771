#include "core/concurrent.h"

#include <algorithm>
#include <thread>
#include <vector>

namespace tw {

unsigned activeProcessorCount() { return std::max(1u, std::thread::hardware_concurrency()); }

std::size_t workerCount() { return std::max(2u * activeProcessorCount(), 4u); }

void runOnWorkers(std::size_t threads, const std::function<void()>& work) {
  if (threads == 0) return;
  std::vector<std::jthread> others;
  others.reserve(threads - 1);
  for (std::size_t i = 1; i < threads; ++i) others.emplace_back(work);
  work();
}

void concurrentPerform(std::size_t count, const std::function<void(std::size_t)>& body, std::stop_token stop) {
  concurrentPerformWithState(
      count, [] { return 0; }, [&](std::size_t index, int) { body(index); }, std::move(stop));
}

}  // namespace tw
