#pragma once

#include <string>
#include <vector>

#include "core/context.h"
#include "core/shell.h"

namespace tw {

// Runs `git -C folder arguments...` for a screen. The shell runner already keeps git from
// starting the programs a repository's configuration names; this also turns off every
// filter driver the repository defines (their names are the repository's own), so that
// reading the state of a repository unpacked from an archive runs nothing of its. The
// caller looks at the exit status: output of a failed run means nothing.
[[nodiscard]] Shell::Result runGit(const std::string& git, const std::string& folder,
                                   const std::vector<std::string>& arguments, double timeout, const Context& context);

}  // namespace tw
