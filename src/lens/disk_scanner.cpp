#include "lens/disk_scanner.h"

#include <algorithm>
#include <limits>

#include "core/concurrent.h"
#include "fs/bulk_list.h"
#include "fs/open_folder.h"

namespace tw {
namespace {

// Files and folders smaller than this are folded into their parent's small counters.
constexpr std::int64_t kNodeThreshold = 1024 * 1024;
// The scan root has no parent to compare devices with, so its file system is always checked.
constexpr std::uint64_t kUnknownDevice = std::numeric_limits<std::uint64_t>::max();

std::string childPath(const std::string& parent, std::string_view name) {
  std::string path;
  path.reserve(parent.size() + 1 + name.size());
  path += parent;
  if (parent != "/") path += '/';
  path += name;
  return path;
}

}  // namespace

std::set<std::string> DiskScanner::skipsFor(const std::string& path) {
  return path == "/" ? rootSkips() : std::set<std::string>{};
}

DiskScanner::DiskScanner(std::set<std::string> skip) : skip_(std::move(skip)) {}

std::string DiskScanner::current() const {
  std::lock_guard lock(mutex_);
  return current_;
}

std::unique_ptr<FSNode> DiskScanner::scan(const std::string& path, std::stop_token stop) {
  auto root = std::make_unique<FSNode>(path, true, nullptr);
  {
    std::lock_guard lock(mutex_);
    stack_.push_back({root.get(), path, kUnknownDevice, false});
  }
  const std::stop_callback onStop(stop, [this] { cancel(); });
  runOnWorkers(workerCount(), [this] { work(); });
  return root;
}

void DiskScanner::work() {
  for (;;) {
    std::unique_lock lock(mutex_);
    cond_.wait(lock, [this] { return finished_ || !stack_.empty(); });
    if (finished_) return;
    const Pending folder = std::move(stack_.back());
    stack_.pop_back();
    lock.unlock();
    process(folder);
  }
}

bool DiskScanner::firstSighting(const FileIdentity& file) {
  std::lock_guard lock(linkLock_);
  return seenLinks_.insert(file).second;
}

void DiskScanner::process(const Pending& folder) {
  FSNode* node = folder.node;
  std::int64_t listed = 0;
  std::int64_t sizeTotal = 0;
  std::int64_t freeableTotal = 0;
  std::vector<Pending> subfolders;

  // A cancelled scan treats every folder still waiting as empty, so it drains quickly.
  const UniqueFd fd = cancelled() ? UniqueFd{} : openFolder(folder.path);
  const auto identity = fd ? identityOf(fd.get()) : std::nullopt;
  bool sharing = folder.sharesExtents;
  bool enter = identity.has_value();
  // File systems only change where the device does, so that is the only place to look.
  if (enter && identity->device != folder.parentDevice) {
    if (folder.parentDevice == kUnknownDevice) rootDevice_ = identity->device;
    enter = !(stayOnFileSystem_ && identity->device != rootDevice_) && !isPseudoFileSystem(fd.get());
    sharing = mayShareExtents(fd.get());
  }
  if (enter) {
    (void)readFolder(fd.get(), sharing, [&](const ListedEntry& entry) {
      ++listed;
      if (entry.isDir) {
        std::string path = childPath(folder.path, entry.name);
        if (!skip_.empty() && skip_.contains(path)) return;
        node->children.push_back(std::make_unique<FSNode>(std::string(entry.name), true, node));
        subfolders.push_back({node->children.back().get(), std::move(path), identity->device, sharing});
        return;
      }
      if (entry.links >= 2 && !firstSighting({entry.device, entry.fileID})) {
        ++node->smallCount;  // a further name of a file already counted
        return;
      }
      sizeTotal += entry.size;
      freeableTotal += entry.privateSize;
      if (entry.size >= kNodeThreshold) {
        auto file = std::make_unique<FSNode>(std::string(entry.name), false, node);
        file->size = entry.size;
        file->freeable = entry.privateSize;
        file->itemCount = 1;
        node->children.push_back(std::move(file));
      } else {
        ++node->smallCount;
        node->smallBytes += entry.size;
      }
    });
  }
  node->size = sizeTotal;
  node->freeable = freeableTotal;

  const std::size_t pushed = subfolders.size();
  {
    std::lock_guard lock(mutex_);
    items_.fetch_add(listed, std::memory_order_relaxed);
    bytes_.fetch_add(sizeTotal, std::memory_order_relaxed);
    if (pushed > 0) current_ = folder.path;
    pending_[node] = static_cast<std::int64_t>(pushed);
    ownCount_[node] = listed;
    // Last in, first out: the scan goes deep first, so subtrees finish and free their
    // bookkeeping early.
    for (auto& subfolder : subfolders) stack_.push_back(std::move(subfolder));
  }
  if (pushed >= 2) {
    cond_.notify_all();
  } else if (pushed == 1) {
    cond_.notify_one();
  } else {
    complete(node);
  }
}

void DiskScanner::complete(FSNode* node) {
  // Each pass finishes one folder; when that was the last open subfolder of its parent, the
  // parent is finished on this same thread, and so on up.
  while (node != nullptr) {
    std::int64_t size = node->size;
    std::int64_t freeable = node->freeable;
    std::int64_t childItems = 0;
    std::vector<std::unique_ptr<FSNode>> kept;
    kept.reserve(node->children.size());
    for (auto& child : node->children) {
      if (child->isDir) {
        size += child->size;
        freeable += child->freeable;
        childItems += child->itemCount;
      }
      if (child->size < kNodeThreshold) {
        ++node->smallCount;
        node->smallBytes += child->size;
        continue;
      }
      kept.push_back(std::move(child));
    }
    std::stable_sort(kept.begin(), kept.end(), [](const auto& a, const auto& b) { return a->size > b->size; });
    node->children = std::move(kept);
    node->size = size;
    node->freeable = freeable;

    FSNode* parent = node->parent;
    std::unique_lock lock(mutex_);
    const auto own = ownCount_.extract(node);
    node->itemCount = (own.empty() ? 0 : own.mapped()) + childItems;
    pending_.erase(node);
    if (parent == nullptr) {
      finished_ = true;
      lock.unlock();
      cond_.notify_all();
      return;
    }
    const auto remaining = pending_.find(parent);
    const std::int64_t left = remaining == pending_.end() ? 0 : remaining->second - 1;
    if (remaining != pending_.end()) remaining->second = left;
    node = left == 0 ? parent : nullptr;
  }
}

}  // namespace tw
