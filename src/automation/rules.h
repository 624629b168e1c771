#pragma once

#include <cstdint>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "automation/rule_locations.h"
#include "core/context.h"
#include "core/date.h"
#include "core/dev_item.h"

namespace tw {

// The background rules: four fixed recipes that each list what unattended cleaning may
// remove, limited to things that rebuild themselves or are kept safe elsewhere.
struct Rules {
  // How each rule's removals appear in the history.
  static constexpr const char* smartCleanLabel = "Auto-clean \u00b7 Smart Clean";
  static constexpr const char* derivedDataLabel = "Auto-clean \u00b7 DerivedData";
  static constexpr const char* projectsLabel = "Auto-clean \u00b7 Projects";
  static constexpr const char* worktreesLabel = "Auto-clean \u00b7 Worktrees";

  // Time-outs of the git commands that decide which worktrees are merged, in seconds.
  static constexpr double baseBranchTimeout = 20;
  static constexpr double mergedTimeout = 30;

  // The Smart Clean categories that may be emptied without the user looking at them first:
  // everything an app or a tool rebuilds on its own. The Trash and the installers in
  // Downloads are deliberately absent, so nothing unattended ever empties them.
  static const std::set<std::string>& safeCategories();

  // Every non-empty path of the safe Smart Clean categories, each deleted outright.
  [[nodiscard]] static std::vector<DevItem> smartClean(const Context& context);
  // Every entry of the table's DerivedData folder; nothing where the table has none.
  [[nodiscard]] static std::vector<DevItem> derivedData(const Context& context);
  [[nodiscard]] static std::vector<DevItem> derivedData(const Context& context, const RuleTable& table);
  // The Projects screen's items in projects last active at least `days` days before `now`;
  // a project whose last activity cannot be read is left alone.
  [[nodiscard]] static std::vector<DevItem> projectLeftovers(const Context& context, std::int64_t days,
                                                             Date now = std::chrono::system_clock::now());
  // Extra worktrees whose HEAD is already part of their repository's base branch. Only a
  // worktree whose state git reported, with nothing uncommitted and not locked, is taken,
  // and it is removed without force, so git itself refuses if work appeared meanwhile.
  [[nodiscard]] static std::vector<DevItem> mergedWorktrees(const Context& context);

  // The first of "origin/HEAD", "origin/main", "origin/master", "main", "master" that names
  // a commit in `repo`; nothing when none does.
  [[nodiscard]] static std::optional<std::string> baseBranch(const std::string& repo, const std::string& git,
                                                             const Context& context);
};

}  // namespace tw
