#pragma once

#include <string>
#include <vector>

#include "core/context.h"

namespace tw {

// Whether a tool found on disk really runs the tool. On macOS /usr/bin/git and
// /usr/bin/xcrun are stubs that open an installer prompt unless the developer tools are
// installed; other systems have no such stubs, so every hit there is real.
[[nodiscard]] bool toolRunsWithoutInstallerPrompt(const std::string& path, const Context& context);

// Where this platform's package managers put tools, searched after the shared folders.
[[nodiscard]] std::vector<std::string> platformToolFolders(const std::string& home);

}  // namespace tw
