#pragma once

#include <cstddef>
#include <optional>
#include <string>

namespace tw {

// The contents of a regular file of at most `maxBytes`, opened without following a link.
// Nothing for a missing, unreadable, oversized or special file (a FIFO never blocks us).
[[nodiscard]] std::optional<std::string> readRegularFile(const std::string& path, std::size_t maxBytes);

}  // namespace tw
