#include "junk/junk_category.h"

#include <utility>

#include "core/sizes.h"

namespace tw {

JunkCategory::JunkCategory(std::string id, std::string title, std::string detail, std::string icon,
                           bool defaultSelected, Finder finder)
    : id(std::move(id)),
      title(std::move(title)),
      detail(std::move(detail)),
      icon(std::move(icon)),
      defaultSelected(defaultSelected),
      finder(std::move(finder)) {}

void JunkCategory::setItems(std::vector<JunkItem> items) {
  items_ = std::move(items);
  notify(JunkCategoryField::items);
}

void JunkCategory::setNote(std::optional<std::string> note) {
  note_ = std::move(note);
  notify(JunkCategoryField::note);
}

std::int64_t JunkCategory::total() const {
  std::int64_t sum = 0;
  for (const auto& item : items_) sum = saturatingAdd(sum, item.size);
  return sum;
}

}  // namespace tw
