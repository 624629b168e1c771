#pragma once

#include <optional>
#include <string>
#include <vector>

#include "fs/usage.h"

namespace tw {

// Whether a folder with these entries is a git directory of its own: a bare repository
// (`git clone --bare`) or the folder a ".git" file points to.
[[nodiscard]] bool isGitDirectory(const std::vector<FolderEntry>& entries);

// The git directory of a folder: its ".git" folder, the folder its ".git" file names on its
// "gitdir:" line (relative to the folder), or the folder itself when it is a bare
// repository. Nothing for a folder git does not know.
[[nodiscard]] std::optional<std::string> gitDirectoryOf(const std::string& folder);

// The git directory that a repository's worktrees share: a linked worktree's "commondir",
// else the git directory itself.
[[nodiscard]] std::string commonGitDirectory(const std::string& gitDir);

}  // namespace tw
