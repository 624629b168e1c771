#pragma once

#include <vector>

#include "core/dev_group.h"

namespace tw {

// Items by freeable bytes, largest first (unknown counts as 0); equal ones keep their order.
void sortByFreeable(std::vector<DevItem>& items);

// Groups by their freeable total, largest first; equal ones keep their order.
void sortByTotal(std::vector<DevGroupPtr>& groups);

}  // namespace tw
