#include <algorithm>
#include <chrono>
#include <mutex>
#include <optional>

#include "dedupe/open_files.h"

namespace tw {
namespace {

struct Cache {
  std::mutex lock;
  std::optional<std::chrono::steady_clock::time_point> takenAt;
  std::optional<long> lastStarted;  // when the processes were last listed
  std::set<long> processes;         // those the snapshot looked at
  std::shared_ptr<const std::unordered_set<FileIdentity>> files;
};

Cache& cache() {
  static Cache shared;
  return shared;
}

}  // namespace

std::unordered_set<FileIdentity> OpenFiles::snapshot() { return heldBy(processes()); }

std::shared_ptr<const std::unordered_set<FileIdentity>> OpenFiles::recent(double maxAge) {
  Cache& shared = cache();
  // Taking the snapshot under the lock keeps concurrent callers from each walking
  // every process at the same moment; they wait and reuse the one result.
  std::lock_guard guard(shared.lock);
  const auto now = std::chrono::steady_clock::now();
  const bool young = shared.takenAt && std::chrono::duration<double>(now - *shared.takenAt).count() < maxAge;
  // Nothing started since the processes were listed: no need to list them again.
  const auto started = lastStarted();
  if (young && started && started == shared.lastStarted) return shared.files;
  auto running = processes();
  const bool newcomer =
      std::any_of(running.begin(), running.end(), [&](long pid) { return !shared.processes.contains(pid); });
  shared.lastStarted = started;
  if (!young || newcomer) {
    shared.takenAt = now;
    shared.files = std::make_shared<const std::unordered_set<FileIdentity>>(heldBy(running));
    shared.processes = std::move(running);
  }
  return shared.files;
}

}  // namespace tw
