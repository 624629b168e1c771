#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
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
  // otherwise a new one. Safe from any thread; shared, never copied, so that asking once
  // per item of a long run costs next to nothing while nothing starts.
  [[nodiscard]] static std::shared_ptr<const std::unordered_set<FileIdentity>> recent(double maxAge);
  // The processes running now, other than this one: a cheap look, one listing.
  [[nodiscard]] static std::set<long> processes();
  // The ID the system gave the task it started last, where it says so: while it stays the
  // same, no process has started. Nothing where that cannot be read.
  [[nodiscard]] static std::optional<long> lastStarted();
  // The files those processes hold open.
  [[nodiscard]] static std::unordered_set<FileIdentity> heldBy(const std::set<long>& processes);
};

}  // namespace tw
