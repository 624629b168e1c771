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
// Folders whose descriptor stays open for their subfolders, at most; far below the usual
// limit of 1024 open files, whatever the tree's shape.
constexpr int kSharedFdLimit = 256;

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

// What the scan keeps about a folder until every part of it is done: its own listing and
// each subfolder. The worker that finishes the last part completes the folder.
struct DiskScanner::FolderState {
  FSNode* node;
  FolderState* parent;  // null for the root
  std::atomic<std::int64_t> parts{1};
  std::int64_t listed = 0;
};

// A folder's descriptor kept open for its subfolders to be opened relative to it; closed
// when the last of them has been opened.
struct DiskScanner::SharedFd {
  SharedFd(UniqueFd fd, std::atomic<int>& count) : fd(std::move(fd)), count(count) { ++count; }
  ~SharedFd() { --count; }
  SharedFd(const SharedFd&) = delete;
  SharedFd& operator=(const SharedFd&) = delete;
  UniqueFd fd;
  std::atomic<int>& count;
};

std::unique_ptr<FSNode> DiskScanner::scan(const std::string& path, std::stop_token stop) {
  auto root = std::make_unique<FSNode>(path, true, nullptr);
  {
    std::lock_guard lock(mutex_);
    stack_.push_back({root.get(), new FolderState{root.get(), nullptr}, path, nullptr, kUnknownDevice, false});
  }
  const std::stop_callback onStop(stop, [this] { cancel(); });
  runOnWorkers(workerCount(), [this] { work(); });
  return root;
}

void DiskScanner::work() {
  std::optional<Pending> next;
  for (;;) {
    if (!next) {
      std::unique_lock lock(mutex_);
      ++waiting_;
      cond_.wait(lock, [this] { return finished_ || !stack_.empty(); });
      --waiting_;
      if (finished_) return;
      next = std::move(stack_.back());
      stack_.pop_back();
    }
    Pending folder = std::move(*next);
    next.reset();
    process(folder, next);
  }
}

bool DiskScanner::firstSighting(const FileIdentity& file) {
  std::lock_guard lock(linkLock_);
  return seenLinks_.insert(file).second;
}

UniqueFd DiskScanner::open(const Pending& folder) const {
  // A cancelled scan treats every folder still waiting as empty, so it drains quickly.
  if (cancelled()) return {};
  if (folder.parentFd) return openFolderAt(folder.parentFd->fd.get(), folder.node->name.c_str());
  return openFolder(folder.path);
}

void DiskScanner::process(Pending& folder, std::optional<Pending>& next) {
  FSNode* node = folder.node;
  std::int64_t listed = 0;
  std::int64_t sizeTotal = 0;
  std::int64_t freeableTotal = 0;
  std::vector<Pending> subfolders;

  UniqueFd fd = open(folder);
  folder.parentFd.reset();
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
        subfolders.push_back(
            {node->children.back().get(), nullptr, std::move(path), nullptr, identity->device, sharing});
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
  items_.fetch_add(listed, std::memory_order_relaxed);
  bytes_.fetch_add(sizeTotal, std::memory_order_relaxed);

  FolderState* state = folder.state;
  state->listed = listed;
  if (!subfolders.empty()) {
    // Every part is counted before any subfolder can complete and release its own.
    state->parts.fetch_add(static_cast<std::int64_t>(subfolders.size()), std::memory_order_relaxed);
    // Subfolders open relative to this folder while it stays open; past a bound on open
    // descriptors they go back to opening by path.
    std::shared_ptr<const SharedFd> shared;
    if (sharedFds_.load(std::memory_order_relaxed) < kSharedFdLimit) {
      shared = std::make_shared<const SharedFd>(std::move(fd), sharedFds_);
    }
    for (auto& subfolder : subfolders) {
      subfolder.state = new FolderState{subfolder.node, state};
      subfolder.parentFd = shared;
    }
    // Depth first: this worker goes on with the last subfolder itself; the rest go on the
    // stack (last in, first out), so subtrees finish and free their bookkeeping early.
    next = std::move(subfolders.back());
    subfolders.pop_back();
    share(subfolders, folder.path);
  }
  release(state);
}

void DiskScanner::share(std::vector<Pending>& subfolders, const std::string& path) {
  if (subfolders.empty()) {
    // Nothing to hand over: only the progress text wants the lock, and it can wait.
    const std::unique_lock lock(mutex_, std::try_to_lock);
    if (lock.owns_lock()) current_ = path;
    return;
  }
  std::size_t wake = 0;
  {
    const std::lock_guard lock(mutex_);
    current_ = path;
    for (auto& subfolder : subfolders) stack_.push_back(std::move(subfolder));
    // Wake no more workers than there is work for: each wake-up costs a system call.
    wake = std::min(subfolders.size(), waiting_);
  }
  for (std::size_t i = 0; i < wake; ++i) cond_.notify_one();
}

void DiskScanner::release(FolderState* state) {
  // Each pass finishes one folder; when that was the last open part of its parent, the
  // parent is completed on this same thread, and so on up.
  while (state != nullptr && state->parts.fetch_sub(1, std::memory_order_acq_rel) == 1) {
    FolderState* parent = state->parent;
    complete(state);
    state = parent;
  }
}

void DiskScanner::complete(FolderState* state) {
  FSNode* node = state->node;
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
  node->itemCount = state->listed + childItems;
  const bool root = state->parent == nullptr;
  delete state;
  if (!root) return;
  {
    std::lock_guard lock(mutex_);
    finished_ = true;
  }
  cond_.notify_all();
}

}  // namespace tw
