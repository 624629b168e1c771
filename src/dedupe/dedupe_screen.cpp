#include <algorithm>
#include <map>
#include <memory>

#include "core/format.h"
#include "core/settings.h"
#include "dedupe/block_sharing.h"
#include "dedupe/dedupe.h"
#include "dedupe/file_state.h"
#include "fs/path.h"

namespace tw {
namespace {

constexpr const char* cannotShareNote =
    "This volume can't share file data between copies (it needs Btrfs or XFS with reflink, or APFS).";
constexpr const char* nothingFoundNote = "No identical files of 32 KB or more in your project folders.";
constexpr const char* restoreHint = "Nothing is deleted: every copy stays in place and shares its data";

DevItem copyItem(const Dedupe::DupSet& set, const std::string& keep, const std::string& copy, bool canShare,
                 const std::string& home) {
  DevItem item;
  item.id = copy;
  item.name = tildePath(copy, home);
  item.detail = byteFormatter(set.length) + ", identical to the kept file";
  item.size = set.alloc;
  item.freeable = set.alloc;
  item.selected = canShare;
  // Each copy is its own file, so copies are shared side by side.
  item.action = DevAction::independentCustom([keep, copy] { return Dedupe::cloneReplace(keep, {copy}); });
  item.revealPath = copy;
  item.restoreHint = restoreHint;
  return item;
}

DevGroupPtr setGroup(const Dedupe::DupSet& set, bool canShare, const std::string& home) {
  const std::string& keep = set.paths.front();
  auto group = std::make_shared<DevGroup>(keep, lastPathComponent(keep), tildePath(keep, home), "square.on.square");
  std::vector<DevItem> items;
  for (auto copy = set.paths.begin() + 1; copy != set.paths.end(); ++copy) {
    items.push_back(copyItem(set, keep, *copy, canShare, home));
  }
  group->setItems(std::move(items));
  return group;
}

}  // namespace

ProviderResult Dedupe::load(const Context& context) {
  const auto sets = scan(DevSettings::projectRoots(context), context.home, context.stop);
  // One question per volume: every file on it gets the same answer.
  std::map<std::uint64_t, bool> canShareOn;
  ProviderResult result;
  std::vector<DevGroupPtr> unshareable;
  for (const auto& set : sets) {
    if (set.paths.size() < 2) continue;
    const auto keepState = linkState(set.paths.front());
    if (!keepState) continue;  // gone since the scan
    auto known = canShareOn.find(keepState->dev);
    if (known == canShareOn.end()) {
      known = canShareOn.emplace(keepState->dev, volumeCanShare(set.paths.front())).first;
    }
    result.groups.push_back(setGroup(set, known->second, context.home));
    if (!known->second) unshareable.push_back(result.groups.back());
  }
  std::stable_sort(result.groups.begin(), result.groups.end(),
                   [](const DevGroupPtr& a, const DevGroupPtr& b) { return a->total() > b->total(); });
  if (!unshareable.empty()) {
    result.note = cannotShareNote;
    // With roots on several volumes, say which sets the note is about.
    if (unshareable.size() < result.groups.size()) {
      for (const auto& group : unshareable) group->setNote(cannotShareNote);
    }
  } else if (result.groups.empty()) {
    result.note = nothingFoundNote;
  }
  return result;
}

}  // namespace tw
