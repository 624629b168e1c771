#pragma once

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "support/fake_home.h"

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

// The names of a group's items, each followed by "*" when it is ticked.
inline std::vector<std::string> namesTicked(const nlohmann::json& group) {
  std::vector<std::string> names;
  for (const auto& item : group["items"]) {
    names.push_back(item["name"].get<std::string>() + (item["selected"] ? "*" : ""));
  }
  return names;
}

// Runs tidewarden with the screens' system paths under `root`, a made-up system.
inline RunResult runOnSystem(const std::string& root, const std::vector<std::string>& arguments) {
  return runTidewarden(arguments, {{"TIDEWARDEN_SYSTEM_ROOT", root}});
}

// A screen's JSON listing over the made-up system under `root`.
inline nlohmann::json screenOnSystem(const std::string& root, const std::string& screen) {
  const auto result = runOnSystem(root, {screen, "--json"});
  EXPECT_EQ(result.code, 0) << result.err;
  return nlohmann::json::parse(result.out, nullptr, false);
}

}  // namespace tw::test
