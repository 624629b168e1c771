#pragma once

#include <string>

namespace tw {

// The shell runner hands back git's output decoded as UTF-8, so a worktree folder whose
// name is not valid UTF-8 is reported with replacement characters and names nothing on
// disk. git's own record of each worktree (<gitDir>/worktrees/<id>/gitdir) keeps the
// real bytes: this returns the recorded folder that decodes to `reported`, or `reported`
// itself when it exists or no single record matches.
[[nodiscard]] std::string recordedWorktreePath(const std::string& reported, const std::string& gitDir);

}  // namespace tw
