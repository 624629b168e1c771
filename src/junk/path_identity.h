#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace tw {

// What a path named at one moment: the object itself (a link is not followed). Comparing
// two readings tells whether the path was replaced in between.
struct PathIdentity {
  std::uint64_t device = 0;
  std::uint64_t inode = 0;
  std::uint32_t type = 0;  // the file-type bits of the mode

  [[nodiscard]] static std::optional<PathIdentity> of(const std::string& path);
  friend bool operator==(const PathIdentity&, const PathIdentity&) = default;
};

}  // namespace tw
