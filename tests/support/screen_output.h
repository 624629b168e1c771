#pragma once

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

namespace tw::test {

// Lookups in a screen command's JSON answer. A missing entry fails the test and gives
// null, so the checks after it fail plainly instead of crashing.
inline const nlohmann::json& entryWith(const nlohmann::json& list, const std::string& key, const std::string& value) {
  static const nlohmann::json none;
  for (const auto& entry : list) {
    if (entry.contains(key) && entry.at(key) == value) return entry;
  }
  ADD_FAILURE() << "nothing with " << key << " = " << value;
  return none;
}

inline const nlohmann::json& groupWithId(const nlohmann::json& output, const std::string& id) {
  return entryWith(output["groups"], "id", id);
}

inline const nlohmann::json& itemNamed(const nlohmann::json& group, const std::string& name) {
  return entryWith(group["items"], "name", name);
}

// One field of every entry of a list, in order.
template <typename T = std::string>
std::vector<T> fieldOf(const nlohmann::json& list, const std::string& key) {
  std::vector<T> values;
  for (const auto& entry : list) values.push_back(entry.at(key).get<T>());
  return values;
}

}  // namespace tw::test
