#pragma once

#include <cstdint>
#include <functional>
#include <set>
#include <unordered_set>

#include "fs/file_identity.h"

namespace tw {

// The files that running processes (other than this one) hold open right now.
struct OpenFiles {
  // A fresh look at every process we may inspect.
  [[nodiscard]] static std::unordered_set<FileIdentity> snapshot();
  // The last snapshot when it is younger than `maxAge` seconds and no process has started
  // since (a program just launched on a file is the usual way a file comes to be open),
  // otherwise a new one. Safe from any thread.
  [[nodiscard]] static std::unordered_set<FileIdentity> recent(double maxAge);
  // The processes running now, other than this one: a cheap look, one listing.
  [[nodiscard]] static std::set<long> processes();
  // The files those processes hold open.
  [[nodiscard]] static std::unordered_set<FileIdentity> heldBy(const std::set<long>& processes);
};

}  // namespace tw
