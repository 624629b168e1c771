#pragma once

#include <optional>
#include <string>

namespace tw {

// Where the background rules look, as data: one table per platform, both compiled and
// tested everywhere. Paths begin with "~" for the home folder.
struct RuleTable {
  std::string name;  // "macos" or "linux"
  // The folder whose entries the DerivedData rule removes; none where the platform has no
  // such folder.
  std::optional<std::string> derivedDataFolder;
};

[[nodiscard]] const RuleTable& macOSRuleTable();
[[nodiscard]] const RuleTable& linuxRuleTable();

}  // namespace tw
