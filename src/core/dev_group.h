#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "core/context.h"
#include "core/date.h"
#include "core/dev_item.h"
#include "core/observable.h"

namespace tw {

// What a DevGroup announces. `selection` (with the rows whose tick changed) comes from the
// pane that keeps the selection.
enum class DevGroupField { badges, items, note, selection };

class DevGroup : public Observable<DevGroupField> {
 public:
  DevGroup(std::string id, std::string title, std::string subtitle, std::string icon);

  const std::string id;
  const std::string title;
  const std::string subtitle;
  const std::string icon;
  std::optional<Date> lastActive;

  [[nodiscard]] const std::vector<Badge>& badges() const { return badges_; }
  [[nodiscard]] const std::vector<DevItem>& items() const { return items_; }
  [[nodiscard]] const std::optional<std::string>& note() const { return note_; }

  // Notifies only when the list differs in text or tone.
  void setBadges(std::vector<Badge> badges);
  // Notifies on every assignment.
  void setItems(std::vector<DevItem> items);
  // Notifies only when the text or its presence changes.
  void setNote(std::optional<std::string> note);
  // Tells observers which of its rows were ticked or unticked.
  void announceSelection(std::vector<std::size_t> rows) const;

  // The space that cleaning the whole group gives back: freeable bytes, not sizes.
  [[nodiscard]] std::int64_t total() const;

 private:
  std::vector<Badge> badges_;
  std::vector<DevItem> items_;
  std::optional<std::string> note_;
};

using DevGroupPtr = std::shared_ptr<DevGroup>;

struct ProviderResult {
  std::vector<DevGroupPtr> groups;
  std::optional<std::string> note;
};

// A screen's scanner: synchronous, never throws, keeps no state between calls, and reads
// its world (home folder, environment, settings, stop token) from the context only.
using Provider = std::function<ProviderResult(const Context&)>;

}  // namespace tw
