#pragma once

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <stop_token>
#include <string>
#include <unordered_set>
#include <utility>
#include <vector>

#include "core/context.h"
#include "fs/file_identity.h"
#include "fs/unique_fd.h"
#include "fs/usage.h"

namespace tw {

// One node of the disk-usage tree. Only folders and files of 1 MiB or more become nodes;
// smaller entries are folded into their parent's small counters.
class FSNode {
 public:
  FSNode(std::string name, bool isDir, FSNode* parent);
  ~FSNode();
  FSNode(const FSNode&) = delete;
  FSNode& operator=(const FSNode&) = delete;

  std::string name;  // the full scanned path for the root
  bool isDir = false;
  std::int64_t size = 0;
  std::int64_t freeable = 0;
  std::int64_t itemCount = 0;
  std::vector<std::unique_ptr<FSNode>> children;
  std::int64_t smallCount = 0;
  std::int64_t smallBytes = 0;
  FSNode* parent = nullptr;  // owned by the parent; null for the root

  [[nodiscard]] std::string path() const;
  [[nodiscard]] std::vector<const FSNode*> ancestors() const;
};

struct DiskInfo {
  std::int64_t total = 0;
  std::int64_t free = 0;
  [[nodiscard]] static DiskInfo current(const Context& context);
};

class DiskScanner {
 public:
  using Entry = FolderEntry;

  // --- shared file-system operations (static, any thread), done by the file-system layer ---

  // Every readable entry of a folder in listing order; nothing when it cannot be opened.
  // Never follows a symbolic link, also not for `path` itself.
  [[nodiscard]] static std::optional<std::vector<Entry>> list(const std::string& path);
  // Allocated and freeable bytes of a path (links are not followed).
  [[nodiscard]] static std::pair<std::int64_t, std::int64_t> usage(const std::string& path, std::stop_token stop = {});
  [[nodiscard]] static std::int64_t size(const std::string& path);
  // Guarded recursive delete: only two or more levels below `home`, never following
  // links, never crossing into another file system.
  [[nodiscard]] static bool remove(const std::string& path, const std::string& home);
  [[nodiscard]] static const std::set<std::string>& rootSkips();
  // What a scan of `path` leaves out: rootSkips for the whole disk ("/"), nothing otherwise.
  [[nodiscard]] static std::set<std::string> skipsFor(const std::string& path);

  // --- one scan ---
  explicit DiskScanner(std::set<std::string> skip = {});
  DiskScanner(const DiskScanner&) = delete;
  DiskScanner& operator=(const DiskScanner&) = delete;

  // Leaves out every folder on another file system than the scanned folder (disks mounted
  // inside it): such a folder is listed but neither entered nor counted. Call before scan().
  void stayOnFileSystem() { stayOnFileSystem_ = true; }

  // Blocks until the tree is complete, or until `stop` (or cancel()) ends it early. One
  // scan per scanner.
  [[nodiscard]] std::unique_ptr<FSNode> scan(const std::string& path, std::stop_token stop = {});

  // Progress, readable from another thread while scan() runs.
  [[nodiscard]] std::int64_t items() const { return items_.load(std::memory_order_relaxed); }
  [[nodiscard]] std::int64_t bytes() const { return bytes_.load(std::memory_order_relaxed); }
  [[nodiscard]] std::string current() const;
  void cancel() { cancelled_.store(true); }
  [[nodiscard]] bool cancelled() const { return cancelled_.load(); }

 private:
  struct FolderState;
  struct SharedFd;
  // A folder waiting to be listed, with what its parent learned about the file system.
  // While the parent's descriptor is still open the folder is opened relative to it, so
  // the kernel does not walk the whole path again for every folder.
  struct Pending {
    FSNode* node;
    FolderState* state;
    std::string path;
    std::shared_ptr<const SharedFd> parentFd;  // empty: open by path
    std::uint64_t parentDevice;
    bool sharesExtents;
  };
  void work();
  // Lists one folder; `next` receives one of its subfolders for this worker to go on with.
  void process(Pending& folder, std::optional<Pending>& next);
  [[nodiscard]] UniqueFd open(const Pending& folder) const;
  // Hands the subfolders this worker will not walk itself to the others.
  void share(std::vector<Pending>& subfolders, const std::string& path);
  // One part of a folder is done (its own listing, or a subfolder); the last one completes it.
  void release(FolderState* state);
  void complete(FolderState* state);
  // True the first time a multiply-linked file is met in this scan.
  bool firstSighting(const FileIdentity& file);

  std::set<std::string> skip_;
  bool stayOnFileSystem_ = false;
  std::uint64_t rootDevice_ = 0;  // written while the root is listed, before any other folder
  mutable std::mutex mutex_;      // guards the stack, the waiting workers and current_
  std::condition_variable cond_;
  std::vector<Pending> stack_;
  std::size_t waiting_ = 0;
  bool finished_ = false;
  std::string current_;
  std::atomic<std::int64_t> items_{0};
  std::atomic<std::int64_t> bytes_{0};
  std::atomic<int> sharedFds_{0};
  std::mutex linkLock_;  // guards seenLinks_ only; never held together with mutex_
  std::unordered_set<FileIdentity> seenLinks_;
  std::atomic<bool> cancelled_{false};
};

}  // namespace tw
