#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <QObject>

#include "core/context.h"
#include "core/dispatcher.h"
#include "core/task_runner.h"
#include "lens/disk_scanner.h"
#include "lens/snapshots.h"

namespace tw::app {

// What Space Lens knows: the folder it scans, the tree of the last full scan, the folder
// being explored in it, and what changed since the scan before. Scans and moves to the
// Trash run on its task runner; their results arrive on the owner's thread in one step,
// and only then does the tree change. A scan that is cancelled leaves no tree behind.
class LensModel : public QObject {
  Q_OBJECT

 public:
  struct Progress {
    std::int64_t items = 0;
    std::int64_t bytes = 0;
    std::string current;
    double seconds = 0;
  };

  LensModel(Context context, Dispatcher dispatcher, QObject* parent = nullptr);

  [[nodiscard]] const Context& context() const { return context_; }

  // Starts a full scan of `path`; the tree shown so far stays until it is done.
  void scan(const std::string& path);
  // Asks the running scan to stop; it ends (and is thrown away) within a moment.
  void cancel();
  [[nodiscard]] bool scanning() const { return scanner_ != nullptr; }
  [[nodiscard]] bool cancelling() const { return scanner_ && scanner_->cancelled(); }
  // Read from the scanner's counters while a scan runs.
  [[nodiscard]] Progress progress() const;
  [[nodiscard]] const std::string& scanningPath() const { return scanningPath_; }

  [[nodiscard]] const FSNode* root() const { return root_.get(); }
  [[nodiscard]] const FSNode* current() const { return current_; }
  // Opens a folder of the tree; files and nodes of another tree are ignored.
  void open(const FSNode* folder);
  void up();
  // Opens the folder of the tree at this absolute path; false when the tree has none.
  bool openPath(const std::string& path);

  // The scan before the last full one of the same folder; absent after a first scan.
  [[nodiscard]] const std::optional<Snapshots::Comparison>& comparison() const { return comparison_; }
  // How the last scan or move ended, for the status line.
  [[nodiscard]] const std::string& message() const { return message_; }

  // Moves these entries of the tree to the Trash and takes each one that went out of the
  // tree, its size out of every folder above it. Recorded in the history.
  void moveToTrash(const std::vector<const FSNode*>& entries);
  [[nodiscard]] bool moving() const { return moving_; }

 signals:
  void scanningChanged();
  void treeChanged();  // a new tree, or entries taken out of it
  void currentChanged();
  void movingChanged();
  void messageChanged();

 private:
  void finishScan(std::uint64_t generation, std::shared_ptr<FSNode> tree,
                  std::optional<Snapshots::Comparison> comparison);
  void finishCancelled(std::uint64_t generation);
  void takeOut(const std::string& path);
  [[nodiscard]] FSNode* find(const std::string& path) const;
  void setMessage(std::string message);

  Context context_;
  std::shared_ptr<DiskScanner> scanner_;
  std::string scanningPath_;
  std::chrono::steady_clock::time_point started_;
  std::uint64_t generation_ = 0;
  std::shared_ptr<FSNode> root_;
  FSNode* current_ = nullptr;
  std::optional<Snapshots::Comparison> comparison_;
  std::string message_;
  bool moving_ = false;
  // Last, so that it goes first: stopping its jobs also stops a scan under way (the
  // scanner follows the job's stop token), and they end before anything they use is gone.
  TaskRunner runner_;
};

// The space an entry takes out of the folders above it: its size, freeable bytes and the
// number of entries it counts for.
struct NodeWeight {
  std::int64_t size = 0;
  std::int64_t freeable = 0;
  std::int64_t items = 0;
};
[[nodiscard]] NodeWeight weightOf(const FSNode& node);

}  // namespace tw::app
