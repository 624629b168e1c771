#pragma once

#include <cstdint>
#include <optional>

#include "core/date.h"

namespace tw {

class Settings;

// The settings that the background runner, the rules, the menu-bar item and the Settings
// screen share: their keys and defaults.
struct Prefs {
  static constexpr const char* menuBarEnabled = "menuBarEnabled";
  static constexpr const char* menuBarShowsFree = "menuBarShowsFree";
  static constexpr const char* lowSpaceAlert = "lowSpaceAlert";
  static constexpr const char* lowSpaceGB = "lowSpaceGB";
  static constexpr const char* ruleIntervalDays = "ruleIntervalDays";
  static constexpr const char* ruleSmartClean = "ruleSmartClean";
  static constexpr const char* ruleDerivedData = "ruleDerivedData";
  static constexpr const char* ruleProjectLeftovers = "ruleProjectLeftovers";
  static constexpr const char* ruleProjectLeftoverDays = "ruleProjectLeftoverDays";
  static constexpr const char* ruleMergedWorktrees = "ruleMergedWorktrees";
  static constexpr const char* lastRuleRun = "lastRuleRun";
  static constexpr const char* lastLowSpaceAlert = "lastLowSpaceAlert";

  // Registers every default; the four rule switches stay unregistered (off).
  static void registerDefaults(Settings& settings);

  // Whether any of the four rules is switched on.
  [[nodiscard]] static bool anyRuleOn(Settings& settings);
  // "ruleIntervalDays", taken as 1 when below 1.
  [[nodiscard]] static std::int64_t ruleInterval(Settings& settings);
  // "lowSpaceGB" in bytes (gigabytes of 1,000,000,000 bytes).
  [[nodiscard]] static std::int64_t lowSpaceThreshold(Settings& settings);
  // A stored moment, or the distant past when there is none (or it cannot be read).
  [[nodiscard]] static Date moment(Settings& settings, const char* key);
};

}  // namespace tw
