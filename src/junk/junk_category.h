#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <stop_token>
#include <string>
#include <vector>

#include "core/observable.h"
#include "junk/junk_item.h"

namespace tw {

enum class JunkCategoryField { items, note };

// One Smart Clean category. The texts and the finder never change; `items` and `note`
// hold the last scan and notify observers when set (on the thread that owns the list).
class JunkCategory : public Observable<JunkCategoryField> {
 public:
  using Finder = std::function<JunkFinding(std::stop_token)>;

  JunkCategory(std::string id, std::string title, std::string detail, std::string icon, bool defaultSelected,
               Finder finder);

  const std::string id;
  const std::string title;
  const std::string detail;
  const std::string icon;
  const bool defaultSelected;
  // Synchronous and safe on any thread: it only reads the file system. Never fails; a
  // location that cannot be read yields fewer paths, and so does a stop request.
  const Finder finder;

  [[nodiscard]] const std::vector<JunkItem>& items() const { return items_; }
  void setItems(std::vector<JunkItem> items);
  [[nodiscard]] const std::optional<std::string>& note() const { return note_; }
  void setNote(std::optional<std::string> note);

  [[nodiscard]] std::int64_t total() const;

 private:
  std::vector<JunkItem> items_;
  std::optional<std::string> note_;
};

using JunkCategories = std::vector<std::shared_ptr<JunkCategory>>;

}  // namespace tw
