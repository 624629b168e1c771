#pragma once

#include <string>

#include "automation/rule_locations.h"

namespace tw {

// What the background automation says and where it looks on the platform this program
// was built for; one file per platform implements it.

// The rule table of this platform.
[[nodiscard]] const RuleTable& platformRuleTable();
// The title of the low-space notification, naming the kind of machine the user has.
[[nodiscard]] std::string lowSpaceTitle();

}  // namespace tw
