#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <span>
#include <stop_token>
#include <vector>

#include "core/concurrent.h"

namespace tw::dedupe {

inline constexpr std::size_t workerBufferSize = 1 << 20;

// Runs body(index, buffer) for every index on the shared workers and returns the results
// in index order; an absent result means that item failed (or never ran: a stop request
// ends the run early). Each worker owns one 1 MiB buffer for its whole life, so reading
// files allocates nothing per file.
template <class Result, class Body>
[[nodiscard]] std::vector<std::optional<Result>> parallel(std::size_t count, const Body& body,
                                                          std::stop_token stop = {}) {
  std::vector<std::optional<Result>> results(count);  // each slot written by one worker
  concurrentPerformWithState(
      count, [] { return std::make_unique_for_overwrite<std::byte[]>(workerBufferSize); },
      [&](std::size_t index, const std::unique_ptr<std::byte[]>& buffer) {
        results[index] = body(index, std::span<std::byte>(buffer.get(), workerBufferSize));
      },
      std::move(stop));
  return results;
}

}  // namespace tw::dedupe
