#include "automation/prefs.h"

#include <algorithm>
#include <limits>

#include <nlohmann/json.hpp>

#include "core/settings.h"

namespace tw {

void Prefs::registerDefaults(Settings& settings) {
  settings.registerDefaults({{menuBarEnabled, true},
                             {menuBarShowsFree, true},
                             {lowSpaceAlert, true},
                             {lowSpaceGB, 20},
                             {ruleIntervalDays, 7},
                             {ruleProjectLeftoverDays, 60}});
}

bool Prefs::anyRuleOn(Settings& settings) {
  return settings.boolean(ruleSmartClean) || settings.boolean(ruleDerivedData) ||
         settings.boolean(ruleProjectLeftovers) || settings.boolean(ruleMergedWorktrees);
}

std::int64_t Prefs::ruleInterval(Settings& settings) {
  // The upper bound only keeps the arithmetic on days in range; it is thousands of years.
  return std::clamp<std::int64_t>(settings.integer(ruleIntervalDays), 1, 1'000'000);
}

std::int64_t Prefs::lowSpaceThreshold(Settings& settings) {
  constexpr std::int64_t gigabyte = 1'000'000'000;
  const std::int64_t gigabytes =
      std::clamp<std::int64_t>(settings.integer(lowSpaceGB), 0, std::numeric_limits<std::int64_t>::max() / gigabyte);
  return gigabytes * gigabyte;
}

Date Prefs::moment(Settings& settings, const char* key) {
  // The start of 1970 stands for the distant past: far enough back for every comparison,
  // near enough that subtracting it from now cannot overflow.
  return settings.date(key).value_or(Date{});
}

}  // namespace tw
