#include "screens/screen_fixtures.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace tw::test {

std::map<std::string, std::vector<std::string>> summary(const ProviderResult& result) {
  std::map<std::string, std::vector<std::string>> groups;
  for (const auto& group : result.groups) {
    auto& names = groups[group->id];
    for (const auto& item : group->items()) names.push_back(item.name + (item.selected ? "*" : ""));
    std::sort(names.begin(), names.end());
  }
  return groups;
}

const DevItem& itemWithId(const ProviderResult& result, const std::string& id) {
  for (const auto& group : result.groups) {
    for (const auto& item : group->items()) {
      if (item.id == id) return item;
    }
  }
  ADD_FAILURE() << "no item " << id;
  static const DevItem none;
  return none;
}

}  // namespace tw::test
