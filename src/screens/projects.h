#pragma once

#include <optional>
#include <set>
#include <stop_token>
#include <string>
#include <unordered_set>
#include <vector>

#include "core/date.h"
#include "core/dev_group.h"

namespace tw {

// The Projects screen: rebuildable folders (dependencies, build output, caches, virtual
// environments) inside the user's code projects, grouped per project.
struct Projects {
  // One kind of rebuildable folder.
  struct Rule {
    // Exact names; one ending in "*" names every folder that starts with what precedes it.
    std::set<std::string> names;
    // At least one of these must stand beside the folder; an entry starting with "." is a
    // name suffix (".xcodeproj"), anything else an exact name. Empty: no requirement.
    // (Not called `requires`, which C++ reserves.)
    std::vector<std::string> requirements;
    // When set, the folder itself must hold an entry of this name.
    std::optional<std::string> contains;
    std::string hint;
  };

  struct Artifact {
    std::string path;
    std::string hint;
  };

  // The rebuildable folders of one project folder.
  struct Found {
    std::string root;
    std::vector<Artifact> artifacts;
  };

  using Names = std::unordered_set<std::string>;

  // Rules in the order they are tried; the first match wins.
  [[nodiscard]] static const std::vector<Rule>& rules();
  // A folder holding any of these names is a project.
  [[nodiscard]] static const std::set<std::string>& manifests();
  // Folder names never searched for projects.
  [[nodiscard]] static const std::set<std::string>& skip();
  // Lower-case extensions of folders that are packages, never walked into.
  [[nodiscard]] static const std::set<std::string>& bundleExts();

  // Whether some rule names folders called `name`, whatever stands beside them.
  [[nodiscard]] static bool anyRuleNames(const std::string& name);

  // The rule that a folder called `name` at `path`, whose parent holds `siblings`, matches.
  [[nodiscard]] static const Rule* match(const std::string& name, const Names& siblings, const std::string& path);

  // Project folders under the roots, in the order they were found, each once. The home
  // folder is never a project itself (a dotfiles repository there is common): the search
  // goes on below it. A stop request ends the search between folders.
  [[nodiscard]] static std::vector<std::string> discover(const std::vector<std::string>& roots, std::stop_token stop,
                                                         const std::string& home);

  // The rebuildable folders of one project: its own first, then one Found per repository
  // nested inside it.
  [[nodiscard]] static std::vector<Found> artifacts(const std::string& root, std::stop_token stop = {});

  // When the project was last worked on: its git index (or HEAD), else the folder itself.
  [[nodiscard]] static std::optional<Date> lastActive(const std::string& root);

  // Whether a project last active at `date` has been left alone for more than 30 days.
  [[nodiscard]] static bool idle(const std::optional<Date>& date, Date now);

  // The screen for these project roots; `home` is shown as "~".
  [[nodiscard]] static ProviderResult scan(const std::string& home, const std::vector<std::string>& roots,
                                           std::stop_token stop = {});
  [[nodiscard]] static ProviderResult load(const Context& context);
};

}  // namespace tw
