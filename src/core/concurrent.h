#pragma once

#include <cstddef>
#include <functional>

namespace tw {

// Calls body(0) ... body(count - 1) on a pool of worker threads and returns when every
// call has finished. Calls may run in any order; most of our work waits on the disk, so
// the pool is larger than the processor count.
void concurrentPerform(std::size_t count, const std::function<void(std::size_t)>& body);

[[nodiscard]] unsigned activeProcessorCount();

}  // namespace tw
