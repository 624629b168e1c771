#pragma once

#include <functional>
#include <map>
#include <optional>
#include <stop_token>
#include <string>
#include <vector>

#include "core/date.h"

namespace tw {

// Finds an external tool by name; nothing when it is not installed.
using ToolLookup = std::function<std::optional<std::string>(const std::string& name)>;

// Everything the developer-tool screens read from the world besides the disk: the home
// folder, a snapshot of the environment, the project roots and how tools are found.
// Scans take it whole so that they read no global of their own.
struct DevToolsInput {
  std::string home;
  std::map<std::string, std::string> env;
  std::vector<std::string> projectRoots;
  ToolLookup findTool;
  Date now = std::chrono::system_clock::now();
  std::stop_token stop;

  // This process's home, environment, project-roots setting and tool search list.
  [[nodiscard]] static DevToolsInput current();

  // The variable's value when it is set and not empty.
  [[nodiscard]] std::optional<std::string> variable(const std::string& name) const;

  // A place written as "~/x", "$VAR/x" or "{key}/x" (with `keys`) made absolute. The XDG
  // variables fall back to their usual folders; a PATH-like value counts by its first
  // entry. Nothing when a variable other than an XDG one is unset or not absolute.
  [[nodiscard]] std::optional<std::string> expand(const std::string& place,
                                                  const std::map<std::string, std::string>& keys = {}) const;

  // The first candidate that applies: a "$VAR" candidate (other than an XDG one) as soon
  // as its variable is set, because the tool itself then looks nowhere else; any other
  // candidate when a folder exists there. Nothing when none applies.
  [[nodiscard]] std::optional<std::string> locate(const std::vector<std::string>& candidates) const;

  // The home prefix shown as "~".
  [[nodiscard]] std::string tilde(const std::string& path) const;

  // The tool found in one of `folders` (places as for expand), else through findTool.
  [[nodiscard]] std::optional<std::string> tool(const std::string& name, const std::vector<std::string>& folders,
                                                const std::map<std::string, std::string>& keys = {}) const;
};

// Whether `name` inside `folder` is a regular file we may run.
[[nodiscard]] bool isExecutableFile(const std::string& path);

}  // namespace tw
