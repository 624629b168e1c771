#pragma once

#include <optional>
#include <string>
#include <vector>

#include "core/dev_group.h"

namespace tw {

// The Worktrees screen: the extra git worktrees of the repositories under the project
// roots, removed only through git itself so the repository's records stay right.
struct Worktrees {
  // One record of git's porcelain worktree list.
  struct Entry {
    std::string path;
    std::optional<std::string> branch;  // without "refs/heads/", or "detached HEAD"
    bool locked = false;
    bool prunable = false;
    friend bool operator==(const Entry&, const Entry&) = default;
  };

  static constexpr double timeout = 300;

  [[nodiscard]] static std::vector<Entry> parse(const std::string& output);

  // The item of one extra worktree; `git` is the git executable's path. `hasRemote` is
  // nothing when git could not list the repository's remotes. A worktree whose state git
  // cannot read is badged "state unknown" (danger) and never selected.
  [[nodiscard]] static DevItem item(const Entry& entry, const std::string& repo, const std::string& git,
                                    std::optional<bool> hasRemote, const Context& context);

  [[nodiscard]] static ProviderResult load(const Context& context);
};

}  // namespace tw
