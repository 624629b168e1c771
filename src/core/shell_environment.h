#pragma once

#include <string>
#include <vector>

#include "core/context.h"

namespace tw {

// The environment every child process gets: the context's, with PATH made of the tool
// folders plus the context's PATH, and git told never to prompt for credentials, to read
// no system-wide configuration, to take no optional locks and to start none of the
// programs a repository's configuration names (hooks, fsmonitor, pagers, credential
// helpers, external diff, ssh and proxy commands). Entries are "NAME=value".
[[nodiscard]] std::vector<std::string> childEnvironment(const Context& context);

// The PATH value handed to children. When the context has no PATH the inherited part is
// empty, so the value ends in ":"; that empty element is deliberate.
[[nodiscard]] std::string childPathValue(const Context& context);

}  // namespace tw
