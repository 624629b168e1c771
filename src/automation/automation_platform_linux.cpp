#include "automation/automation_platform.h"

namespace tw {

const RuleTable& platformRuleTable() { return linuxRuleTable(); }

std::string lowSpaceTitle() { return "Your computer is low on space"; }

}  // namespace tw
