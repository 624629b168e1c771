#pragma once

#include <string>
#include <vector>

namespace tw {

// The environment every child process gets: this process's own, with PATH made of the
// tool folders plus the inherited PATH, and git told never to prompt for credentials.
// Entries are "NAME=value".
[[nodiscard]] std::vector<std::string> childEnvironment();

// The PATH value handed to children. When this process has no PATH the inherited part is
// empty, so the value ends in ":"; that empty element is deliberate.
[[nodiscard]] std::string childPathValue();

}  // namespace tw
