#pragma once

#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "core/context.h"
#include "core/date.h"

namespace tw {

// Finds an external tool by name; nothing when it is not installed.
using ToolLookup = std::function<std::optional<std::string>(const std::string& name)>;

// Everything the developer-tool screens read from the world besides the disk: the context
// (home folder, environment, XDG folders, stop token) and what a scan adds to it, the
// project roots, how tools are found and the time it runs at. Scans take it whole so that
// tests can give each part.
struct DevToolsInput {
  Context context;
  std::vector<std::string> projectRoots;
  ToolLookup findTool;
  Date now = std::chrono::system_clock::now();

  // The context's project-roots setting, tools found through the shell runner's search
  // list, and now.
  [[nodiscard]] static DevToolsInput from(const Context& context);

  [[nodiscard]] const std::string& home() const { return context.home; }
  [[nodiscard]] bool stopRequested() const { return context.stopRequested(); }

  // The variable's value when it is set and not empty.
  [[nodiscard]] std::optional<std::string> variable(const std::string& name) const;

  // A place written as "~/x", "$VAR/x" or "{key}/x" (with `keys`) made absolute. The XDG
  // variables stand for the context's folders; a PATH-like value counts by its first
  // entry. Nothing when a variable other than an XDG one is unset or not absolute.
  [[nodiscard]] std::optional<std::string> expand(const std::string& place,
                                                  const std::map<std::string, std::string>& keys = {}) const;

  // The first candidate that applies: a "$VAR" candidate (other than an XDG one) as soon
  // as its variable is set, because the tool itself then looks nowhere else; any other
  // candidate when a folder exists there. Nothing when none applies.
  [[nodiscard]] std::optional<std::string> locate(const std::vector<std::string>& candidates) const;

  // The tool found in one of `folders` (places as for expand), else through findTool.
  [[nodiscard]] std::optional<std::string> tool(const std::string& name, const std::vector<std::string>& folders,
                                                const std::map<std::string, std::string>& keys = {}) const;

 private:
  // The context's folder for an XDG variable, or nothing for any other name.
  [[nodiscard]] const std::string* xdgFolderFor(std::string_view variable) const;
};

// Whether `path` is a regular file we may run.
[[nodiscard]] bool isExecutableFile(const std::string& path);

}  // namespace tw
