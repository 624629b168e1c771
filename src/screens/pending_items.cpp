#include "screens/pending_items.h"

#include "core/measure.h"
#include "screens/screen_order.h"

namespace tw {

std::vector<DevItem> measuredItems(std::vector<ItemToMeasure> pending) {
  std::vector<std::vector<std::string>> paths;
  paths.reserve(pending.size());
  for (const auto& entry : pending) paths.push_back(entry.measured);
  const auto usages = measure(paths);
  std::vector<DevItem> items;
  items.reserve(pending.size());
  for (std::size_t index = 0; index < pending.size(); ++index) {
    DevItem item = std::move(pending[index].item);
    if (!pending[index].measured.empty()) {
      item.size = usages[index].size;
      item.freeable = pending[index].freesShared ? usages[index].size : usages[index].freeable;
    }
    items.push_back(std::move(item));
  }
  return items;
}

DevGroupPtr groupOf(const std::string& id, const std::string& title, const std::string& subtitle,
                    const std::string& icon, std::vector<DevItem> items) {
  if (items.empty()) return nullptr;
  sortByFreeable(items);
  auto group = std::make_shared<DevGroup>(id, title, subtitle, icon);
  group->setItems(std::move(items));
  return group;
}

std::optional<std::string> notCheckedNote(const std::vector<std::string>& reasons) {
  if (reasons.empty()) return std::nullopt;
  std::string note = "Not checked: ";
  for (std::size_t index = 0; index < reasons.size(); ++index) {
    if (index > 0) note += "; ";
    note += reasons[index];
  }
  return note + ".";
}

std::optional<std::string> scanNote(bool foundAnything, const std::string& empty,
                                    const std::vector<std::string>& reasons) {
  const auto unchecked = notCheckedNote(reasons);
  if (foundAnything) return unchecked;
  return unchecked ? empty + " " + *unchecked : empty;
}

}  // namespace tw
