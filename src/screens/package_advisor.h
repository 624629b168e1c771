#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "core/dev_item.h"
#include "screens/dev_tool_tables.h"
#include "screens/dev_tools_input.h"

namespace tw {

// The package manager advisor of the Projects screen: which package manager each project
// uses, how much its dependencies take and would give back, advice where a manager with
// a shared, hard-linked store would pay, and the shared stores themselves.
struct PackageAdvisor {
  struct Project {
    std::string path;
    std::string manager;   // "npm", "Yarn", "pnpm", "Bun", "uv", "Poetry", "pip", "Cargo", ...
    std::string lockFile;  // the file that told; empty when only a manifest did
    std::vector<std::string> dependencyFolders;
    std::int64_t size = 0;
    std::int64_t freeable = 0;
  };

  struct Advice {
    std::vector<std::string> projects;  // the project folders it is about
    std::int64_t freeable = 0;          // what their dependencies would give back
    std::string text;                   // one sentence for the user
  };

  struct Report {
    std::vector<Project> projects;  // largest freeable dependencies first
    std::vector<Advice> advice;
    // The shared stores (pnpm, Bun, uv, npm, Yarn) with their own prune command as the
    // action; never pre-selected.
    std::vector<DevItem> stores;
    std::optional<std::string> note;
  };

  // Advice is given when at least two projects would give back this much together.
  static constexpr std::int64_t worthwhileBytes = 100'000'000;

  [[nodiscard]] static Report advise(const DevToolsInput& input, const DevToolTables& tables,
                                     std::int64_t worthwhile = worthwhileBytes);
  [[nodiscard]] static Report load(const Context& context);
};

}  // namespace tw
