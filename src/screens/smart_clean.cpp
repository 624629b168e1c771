#include "screens/smart_clean.h"

#include <memory>

#include "fs/path.h"
#include "junk/junk_cleaner.h"
#include "junk/junk_model.h"
#include "junk/junk_scan.h"

namespace tw {
namespace {

// The removal a clean performs: only while the path is still what was measured. The
// context is the screen's own, without the load's stop token, which is spent by then.
DevAction removalOf(const JunkItem& item, const FileIdentity& measured, const Context& context) {
  return DevAction::custom(
      [path = item.path, size = item.size, measured, context = context.withStop({})] {
        return removeMeasuredJunk(path, size, measured, context).error();
      },
      "delete " + tildePath(item.path, context.home));
}

DevItem itemOf(const JunkCategory& category, const JunkItem& junk, const FileIdentity& measured,
               const Context& context) {
  DevItem item;
  item.id = junk.path;
  item.name = lastPathComponent(junk.path);
  // What the Trash holds is not rebuilt by anyone.
  if (category.id != "trash") {
    item.detail = junkRestoreHint;
    item.restoreHint = junkRestoreHint;
  }
  item.size = junk.size;
  item.freeable = junk.size;
  item.selected = junk.selected;
  item.action = removalOf(junk, measured, context);
  item.revealPath = junk.path;
  return item;
}

DevGroupPtr groupOf(const JunkCategory& category, const JunkScanResult& scan, const Context& context) {
  auto group = std::make_shared<DevGroup>(category.id, category.title, category.detail, category.icon);
  std::vector<DevItem> items;
  for (const auto& junk : category.items()) {
    items.push_back(itemOf(category, junk, scan.identities.at(junk.path), context));
  }
  group->setItems(std::move(items));
  group->setNote(category.note());
  return group;
}

}  // namespace

ProviderResult SmartClean::load(const Context& context) {
  const JunkCategories categories = JunkModel::makeCategories(context);
  const JunkScanResult scan = scanJunk(categories, JunkScanMode::concurrent, context.stop);
  ProviderResult result;
  if (context.stopRequested()) return result;
  for (const auto& category : categories) {
    // An empty category says nothing unless it has a note (a Trash it cannot read).
    if (category->items().empty() && !category->note()) continue;
    result.groups.push_back(groupOf(*category, scan, context));
  }
  if (result.groups.empty()) result.note = nothingFoundNote;
  return result;
}

}  // namespace tw
