#pragma once

#include <set>
#include <string>

namespace tw {

// Which items of a list are ticked, by item id. The list models keep one each (the panes
// and the Trash), so every view asks the model instead of keeping its own.
class Selection {
 public:
  [[nodiscard]] bool contains(const std::string& id) const { return ids_.contains(id); }
  [[nodiscard]] const std::set<std::string>& ids() const { return ids_; }
  [[nodiscard]] std::size_t size() const { return ids_.size(); }
  [[nodiscard]] bool empty() const { return ids_.empty(); }

  // Ticks or unticks one item; true when that changed anything.
  bool set(const std::string& id, bool selected);
  // Replaces the whole selection; true when it differs.
  bool assign(std::set<std::string> ids);
  // Drops ids the list no longer holds; true when any went.
  template <class Holds>
  bool retain(const Holds& holds) {
    return std::erase_if(ids_, [&](const std::string& id) { return !holds(id); }) > 0;
  }

  friend bool operator==(const Selection&, const Selection&) = default;

 private:
  std::set<std::string> ids_;
};

}  // namespace tw
