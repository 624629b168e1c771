#include "automation/rule_locations.h"

namespace tw {

const RuleTable& macOSRuleTable() {
  static const RuleTable table{"macos", "~/Library/Developer/Xcode/DerivedData"};
  return table;
}

const RuleTable& linuxRuleTable() {
  // Xcode does not run here, so nothing leaves DerivedData behind.
  static const RuleTable table{"linux", std::nullopt};
  return table;
}

}  // namespace tw
