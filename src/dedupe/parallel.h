#pragma once

#include <algorithm>
#include <cstddef>
#include <memory>
#include <mutex>
#include <optional>
#include <span>
#include <thread>
#include <vector>

#include "core/concurrent.h"

namespace tw::dedupe {

inline constexpr std::size_t workerBufferSize = 1 << 20;

// Runs body(index, buffer) for every index on a pool of workers and returns the results
// in index order; an absent result means that item failed. Each worker owns one 1 MiB
// buffer for its whole life, so reading files allocates nothing per file.
template <class Result, class Body>
[[nodiscard]] std::vector<std::optional<Result>> parallel(std::size_t count, const Body& body) {
  std::vector<std::optional<Result>> results(count);
  if (count == 0) return results;
  const std::size_t workers = std::min<std::size_t>(std::max(2u * activeProcessorCount(), 4u), count);
  std::mutex counterLock;
  std::size_t next = 0;
  const auto work = [&] {
    const auto buffer = std::make_unique_for_overwrite<std::byte[]>(workerBufferSize);
    const std::span<std::byte> view(buffer.get(), workerBufferSize);
    for (;;) {
      std::size_t index = 0;
      {
        std::lock_guard guard(counterLock);
        if (next >= count) return;
        index = next++;
      }
      // Each slot is written by exactly one worker.
      results[index] = body(index, view);
    }
  };
  {
    std::vector<std::jthread> threads;
    threads.reserve(workers - 1);
    for (std::size_t i = 1; i < workers; ++i) threads.emplace_back(work);
    work();
  }
  return results;
}

}  // namespace tw::dedupe
