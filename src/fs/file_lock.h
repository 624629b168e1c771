#pragma once

#include <string>

#include "fs/unique_fd.h"

namespace tw {

// An advisory lock on a lock file (made when missing, never through a link), held while the
// object lives, so that processes reading and rewriting one file take turns. `held()` is
// false when the lock file could not be opened; callers go on without it.
class ExclusiveFileLock {
 public:
  explicit ExclusiveFileLock(const std::string& lockPath);
  ExclusiveFileLock(const ExclusiveFileLock&) = delete;
  ExclusiveFileLock& operator=(const ExclusiveFileLock&) = delete;

  [[nodiscard]] bool held() const { return held_; }

 private:
  UniqueFd fd_;  // closing it releases the lock
  bool held_ = false;
};

}  // namespace tw
