#include "core/dev_item.h"

#include "core/sizes.h"

namespace tw {

DevAction DevAction::removePaths(std::vector<std::string> paths) { return DevAction{RemovePaths{std::move(paths)}}; }

DevAction DevAction::trash(std::vector<std::string> paths) { return DevAction{Trash{std::move(paths)}}; }

DevAction DevAction::admin(std::string command) { return DevAction{Admin{std::move(command)}}; }

DevAction DevAction::custom(std::function<std::optional<std::string>()> run, std::string description) {
  return DevAction{Custom{std::move(run), std::move(description)}};
}

DevAction DevAction::independentCustom(std::function<std::optional<std::string>()> run, std::string description) {
  return DevAction{Custom{std::move(run), std::move(description), true}};
}

bool DevAction::touchesOnlyItsOwnFiles() const {
  if (std::holds_alternative<RemovePaths>(value)) return true;
  const auto* custom = std::get_if<Custom>(&value);
  return custom && custom->independent;
}

DevAction DevAction::commands(std::vector<std::vector<std::string>> commands) {
  return DevAction{Commands{std::move(commands)}};
}

std::int64_t freeableSum(const std::vector<DevItem>& items) {
  std::int64_t sum = 0;
  for (const auto& item : items) sum = saturatingAdd(sum, item.freeable.value_or(0));
  return sum;
}

}  // namespace tw
