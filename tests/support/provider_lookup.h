#pragma once

#include <stdexcept>
#include <string>
#include <vector>

#include "core/dev_group.h"

namespace tw::test {

// Lookups in a provider's groups. A missing group or item throws, so the test fails there
// with its name instead of crashing on what follows.
inline const DevGroup& groupWithId(const std::vector<DevGroupPtr>& groups, const std::string& id) {
  for (const auto& group : groups) {
    if (group->id == id) return *group;
  }
  throw std::runtime_error("no group " + id);
}

inline const DevItem& itemNamed(const DevGroup& group, const std::string& name) {
  for (const auto& item : group.items()) {
    if (item.name == name) return item;
  }
  throw std::runtime_error("no item named " + name + " in " + group.id);
}

inline const DevItem& itemWithId(const DevGroup& group, const std::string& id) {
  for (const auto& item : group.items()) {
    if (item.id == id) return item;
  }
  throw std::runtime_error("no item " + id + " in " + group.id);
}

// The item of that name in any of the groups, or null.
inline const DevItem* findItem(const std::vector<DevGroupPtr>& groups, const std::string& name) {
  for (const auto& group : groups) {
    for (const auto& item : group->items()) {
      if (item.name == name) return &item;
    }
  }
  return nullptr;
}

inline std::vector<std::string> itemNames(const DevGroup& group) {
  std::vector<std::string> names;
  for (const auto& item : group.items()) names.push_back(item.name);
  return names;
}

}  // namespace tw::test
