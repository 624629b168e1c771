#include "core/selection.h"

namespace tw {

bool Selection::set(const std::string& id, bool selected) {
  return selected ? ids_.insert(id).second : ids_.erase(id) > 0;
}

bool Selection::assign(std::set<std::string> ids) {
  if (ids == ids_) return false;
  ids_ = std::move(ids);
  return true;
}

}  // namespace tw
