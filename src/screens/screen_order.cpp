#include "screens/screen_order.h"

#include <algorithm>

namespace tw {

void sortByFreeable(std::vector<DevItem>& items) {
  std::stable_sort(items.begin(), items.end(), [](const DevItem& left, const DevItem& right) {
    return left.freeable.value_or(0) > right.freeable.value_or(0);
  });
}

void sortByTotal(std::vector<DevGroupPtr>& groups) {
  std::stable_sort(groups.begin(), groups.end(),
                   [](const DevGroupPtr& left, const DevGroupPtr& right) { return left->total() > right->total(); });
}

}  // namespace tw
