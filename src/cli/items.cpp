#include "cli/cli.h"
#include "core/text.h"
#include "fs/path.h"

namespace tw::CLI {

nlohmann::json itemJSON(const DevItem& item, const std::string& home) {
  nlohmann::json badges = nlohmann::json::array();
  for (const auto& badge : item.badges) badges.push_back(validUtf8(badge.text));
  const auto bytes = [](const std::optional<std::int64_t>& value) {
    return value ? nlohmann::json(*value) : nlohmann::json(nullptr);
  };
  nlohmann::json json = nlohmann::json::object();
  json.emplace("id", validUtf8(item.id));
  json.emplace("name", validUtf8(item.name));
  json.emplace("detail", validUtf8(item.detail));
  json.emplace("size", bytes(item.size));
  json.emplace("freeable", bytes(item.freeable));
  json.emplace("selected", item.selected);
  json.emplace("badges", std::move(badges));
  json.emplace("warning", jsonString(item.warning));
  json.emplace("restoreHint", jsonString(item.restoreHint));
  json.emplace("path", jsonString(item.revealPath));
  json.emplace("action", validUtf8(describe(item.action, home)));
  return json;
}

}  // namespace tw::CLI
