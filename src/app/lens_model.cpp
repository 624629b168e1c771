#include "app/lens_model.h"

#include <algorithm>
#include <sstream>
#include <utility>

#include <fmt/format.h>

#include "core/dev_item.h"
#include "core/format.h"
#include "core/removal_service.h"
#include "fs/path.h"

namespace tw::app {
namespace {

constexpr const char* historyCategory = "Space Lens";
constexpr const char* trashRestore = "In the Trash until it's emptied";

bool isInside(const FSNode* node, const FSNode* folder) {
  for (; node != nullptr; node = node->parent) {
    if (node == folder) return true;
  }
  return false;
}

// Named by where it was, from the home folder, so the history tells one "build" from another.
RemovalItem trashItem(const FSNode& node, const std::string& home) {
  DevItem item;
  item.name = tildePath(node.path(), home);
  item.size = node.size;
  item.freeable = node.freeable;
  item.restoreHint = trashRestore;
  item.action = DevAction::trash({node.path()});
  return RemovalItem::of(item);
}

std::vector<std::string> pieces(const std::string& relative) {
  std::vector<std::string> out;
  std::istringstream stream(relative);
  for (std::string piece; std::getline(stream, piece, '/');) {
    if (!piece.empty()) out.push_back(piece);
  }
  return out;
}

void sortBySize(FSNode& folder) {
  std::stable_sort(folder.children.begin(), folder.children.end(),
                   [](const auto& a, const auto& b) { return a->size > b->size; });
}

}  // namespace

NodeWeight weightOf(const FSNode& node) {
  // A folder counts for its own entry as well as everything in it; a file's count is itself.
  return {node.size, node.freeable, node.isDir ? node.itemCount + 1 : 1};
}

LensModel::LensModel(Context context, Dispatcher dispatcher, QObject* parent)
    : QObject(parent), context_(std::move(context)), runner_(std::move(dispatcher)) {}

void LensModel::scan(const std::string& path) {
  if (scanning() || moving_) return;
  auto scanner = std::make_shared<DiskScanner>(DiskScanner::skipsFor(path));
  scanner_ = scanner;
  scanningPath_ = path;
  started_ = std::chrono::steady_clock::now();
  const std::uint64_t generation = ++generation_;
  runner_.start([this, scanner, path, generation, context = context_](std::stop_token stop) -> TaskRunner::Result {
    std::shared_ptr<FSNode> tree = scanner->scan(path, stop);
    // Only a scan that saw every folder may stand for this one in the snapshots.
    if (scanner->cancelled()) return [this, generation] { finishCancelled(generation); };
    auto comparison = Snapshots::compareAndSave(context, *tree);
    return [this, generation, tree, comparison] { finishScan(generation, tree, comparison); };
  });
  setMessage({});
  emit scanningChanged();
}

void LensModel::cancel() {
  if (!scanner_ || scanner_->cancelled()) return;
  scanner_->cancel();
  emit scanningChanged();
}

LensModel::Progress LensModel::progress() const {
  if (!scanner_) return {};
  const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - started_).count();
  return {scanner_->items(), scanner_->bytes(), scanner_->current(), seconds};
}

void LensModel::finishScan(std::uint64_t generation, std::shared_ptr<FSNode> tree,
                           std::optional<Snapshots::Comparison> comparison) {
  if (generation != generation_) return;
  const double seconds = progress().seconds;
  scanner_.reset();
  // The old tree lives until every view has moved to the new one.
  const std::shared_ptr<FSNode> old = std::exchange(root_, std::move(tree));
  current_ = root_.get();
  comparison_ = std::move(comparison);
  message_ = fmt::format("{} in {} items, scanned in {:.1f} s", byteFormatter(root_->size), root_->itemCount, seconds);
  emit treeChanged();
  emit currentChanged();
  emit scanningChanged();
  emit messageChanged();
}

void LensModel::finishCancelled(std::uint64_t generation) {
  if (generation != generation_) return;
  scanner_.reset();
  setMessage("Scan cancelled");
  emit scanningChanged();
}

void LensModel::open(const FSNode* folder) {
  if (folder == nullptr || !folder->isDir || !isInside(folder, root_.get()) || folder == current_) return;
  current_ = const_cast<FSNode*>(folder);  // the model owns the tree; views get it read-only
  emit currentChanged();
}

void LensModel::up() {
  if (current_ && current_->parent) open(current_->parent);
}

FSNode* LensModel::find(const std::string& path) const {
  if (!root_) return nullptr;
  if (path == root_->name) return root_.get();
  const std::string prefix = root_->name == "/" ? "/" : root_->name + "/";
  if (!path.starts_with(prefix)) return nullptr;
  FSNode* node = root_.get();
  for (const auto& piece : pieces(path.substr(prefix.size()))) {
    const auto child = std::find_if(node->children.begin(), node->children.end(),
                                    [&](const auto& candidate) { return candidate->name == piece; });
    if (child == node->children.end()) return nullptr;
    node = child->get();
  }
  return node;
}

bool LensModel::openPath(const std::string& path) {
  FSNode* folder = find(path);
  if (folder == nullptr || !folder->isDir) return false;
  open(folder);
  return true;
}

void LensModel::moveToTrash(const std::vector<const FSNode*>& entries) {
  if (moving_ || scanning() || entries.empty()) return;
  std::vector<RemovalItem> items;
  std::vector<std::string> paths;
  for (const FSNode* entry : entries) {
    if (entry == nullptr || entry == root_.get() || !isInside(entry, root_.get())) continue;
    items.push_back(trashItem(*entry, context_.home));
    paths.push_back(entry->path());
  }
  if (items.empty()) return;
  moving_ = true;
  emit movingChanged();
  runner_.start([this, items, paths, context = context_](std::stop_token stop) -> TaskRunner::Result {
    RemovalOptions options;
    options.category = historyCategory;
    const RemovalReport report = runRemovals(context.withStop(stop), items, options);
    return [this, report, items, paths] {
      for (std::size_t index = 0; index < paths.size(); ++index) {
        if (report.outcomes[index].succeeded()) takeOut(paths[index]);
      }
      moving_ = false;
      setMessage(report.summary(items));
      emit movingChanged();
      emit treeChanged();
    };
  });
}

// The entry leaves the tree, and every folder above it gets smaller by what it held; the
// folders' children are sorted again, as a scan would have left them.
void LensModel::takeOut(const std::string& path) {
  FSNode* node = find(path);
  if (node == nullptr || node->parent == nullptr) return;
  const NodeWeight weight = weightOf(*node);
  for (FSNode* folder = node->parent; folder != nullptr; folder = folder->parent) {
    folder->size -= weight.size;
    folder->freeable -= weight.freeable;
    folder->itemCount -= weight.items;
  }
  FSNode* parent = node->parent;
  if (isInside(current_, node)) {
    current_ = parent;
    emit currentChanged();
  }
  std::erase_if(parent->children, [node](const auto& child) { return child.get() == node; });
  for (FSNode* folder = parent; folder != nullptr; folder = folder->parent) sortBySize(*folder);
}

void LensModel::setMessage(std::string message) {
  if (message == message_) return;
  message_ = std::move(message);
  emit messageChanged();
}

}  // namespace tw::app
