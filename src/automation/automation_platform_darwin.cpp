#include "automation/automation_platform.h"

namespace tw {

const RuleTable& platformRuleTable() { return macOSRuleTable(); }

std::string lowSpaceTitle() { return "Your Mac is low on space"; }

}  // namespace tw
