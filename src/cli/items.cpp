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
  return {
      {"id", validUtf8(item.id)},
      {"name", validUtf8(item.name)},
      {"detail", validUtf8(item.detail)},
      {"size", bytes(item.size)},
      {"freeable", bytes(item.freeable)},
      {"selected", item.selected},
      {"badges", std::move(badges)},
      {"warning", jsonString(item.warning)},
      {"restoreHint", jsonString(item.restoreHint)},
      {"path", jsonString(item.revealPath)},
      {"action", validUtf8(describe(item.action, home))},
  };
}

}  // namespace tw::CLI
