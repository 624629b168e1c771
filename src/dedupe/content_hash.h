#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>

#include "dedupe/dedupe.h"
#include "dedupe/file_state.h"

struct evp_md_ctx_st;

namespace tw::dedupe {

// SHA-256 part-way through a file, so that a later pass over the whole file carries on
// where this one stopped instead of reading and hashing the start again.
struct PrefixHash {
  std::shared_ptr<const evp_md_ctx_st> context;
  std::int64_t hashed = 0;   // bytes from the start
  FileState seen;            // the file as it was then; any change means starting over
  bool wasInMemory = false;  // before that first read
};

struct HashRequest {
  std::string path;
  FileIdentity file;        // the file the walk saw at `path`
  std::int64_t size = 0;    // its length then
  std::int64_t length = 0;  // hash the bytes before this offset
  bool uncached = false;    // a whole-file read that should not stay in memory
  bool keepPrefix = false;  // also return the state to carry on from
  const PrefixHash* resume = nullptr;
};

struct HashResult {
  Dedupe::Digest digest{};
  std::optional<PrefixHash> prefix;
};

// SHA-256 of the first `length` bytes of a file, read through `buffer`. Nothing when the
// path no longer names the same unprotected regular file of the same length (or, when
// resuming, the file changed since), or a read fails or ends early.
[[nodiscard]] std::optional<HashResult> hashFile(const HashRequest& request, std::span<std::byte> buffer);

}  // namespace tw::dedupe
