#include "core/dev_group.h"

namespace tw {

DevGroup::DevGroup(std::string id, std::string title, std::string subtitle, std::string icon)
    : id(std::move(id)), title(std::move(title)), subtitle(std::move(subtitle)), icon(std::move(icon)) {}

void DevGroup::setBadges(std::vector<Badge> badges) {
  if (badges == badges_) return;
  badges_ = std::move(badges);
  notify(DevGroupField::badges);
}

void DevGroup::setItems(std::vector<DevItem> items) {
  items_ = std::move(items);
  notify(DevGroupField::items);
}

void DevGroup::setNote(std::optional<std::string> note) {
  if (note == note_) return;
  note_ = std::move(note);
  notify(DevGroupField::note);
}

void DevGroup::announceSelection(std::vector<std::size_t> rows) const {
  notify(DevGroupField::selection, std::move(rows));
}

std::int64_t DevGroup::total() const { return freeableSum(items_); }

}  // namespace tw
