#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "core/action_outcome.h"
#include "core/context.h"

namespace tw {

struct Badge {
  enum class Tone { info, ok, warn, danger };

  std::string text;
  Tone tone = Tone::info;

  friend bool operator==(const Badge&, const Badge&) = default;
};

// What removing an item does. `perform` carries it out and says how that ended.
struct DevAction {
  struct RemovePaths {
    std::vector<std::string> paths;
  };
  struct Trash {
    std::vector<std::string> paths;
  };
  struct Admin {
    std::string command;
  };
  struct Custom {
    std::function<std::optional<std::string>()> run;
    // What it does, in the user's words; without one it is described as a custom action.
    std::string description;
    // It changes only the item's own files, so it may run beside other such actions.
    bool independent = false;
  };
  struct Commands {
    std::vector<std::vector<std::string>> commands;
  };

  std::variant<RemovePaths, Trash, Admin, Custom, Commands> value;

  static DevAction removePaths(std::vector<std::string> paths);
  static DevAction trash(std::vector<std::string> paths);
  static DevAction admin(std::string command);
  static DevAction custom(std::function<std::optional<std::string>()> run, std::string description = {});
  // A custom action that changes only the item's own files.
  static DevAction independentCustom(std::function<std::optional<std::string>()> run, std::string description = {});
  static DevAction commands(std::vector<std::vector<std::string>> commands);

  // Blocks; runs tools through the shell runner and honours the context's stop token.
  [[nodiscard]] ActionOutcome perform(const Context& context) const;
  // Plain deletions and independent custom actions: nothing beyond the item is touched,
  // and no prompt or tool is involved, so several may run at once.
  [[nodiscard]] bool touchesOnlyItsOwnFiles() const;
};

struct ExtraAction {
  std::string label;
  DevAction action;
};

struct DevItem {
  std::string id;
  std::string name;
  std::string detail;
  std::optional<std::int64_t> size;
  std::optional<std::int64_t> freeable;
  std::vector<Badge> badges;
  bool selected = false;
  DevAction action;
  std::vector<ExtraAction> extra;
  std::optional<std::string> revealPath;
  std::optional<std::string> restoreHint;
  std::optional<std::string> warning;
};

// Sum of freeable bytes, an unknown value counting as 0.
[[nodiscard]] std::int64_t freeableSum(const std::vector<DevItem>& items);

}  // namespace tw
