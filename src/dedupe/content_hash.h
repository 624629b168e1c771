#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>

#include "dedupe/dedupe.h"

namespace tw::dedupe {

struct HashRequest {
  std::string path;
  Dedupe::FileRef file;     // the file the walk saw at `path`
  std::int64_t size = 0;    // its length then
  std::int64_t offset = 0;  // the bytes to hash
  std::int64_t length = 0;
  bool uncached = false;  // a whole-file read that should not stay in memory
};

// SHA-256 of a range of a file, read through `buffer`. Nothing when the path no longer
// names the same unprotected regular file of the same length, or a read fails or ends
// early.
[[nodiscard]] std::optional<Dedupe::Digest> hashRange(const HashRequest& request, std::span<std::byte> buffer);

}  // namespace tw::dedupe
