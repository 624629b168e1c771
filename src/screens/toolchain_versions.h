#pragma once

// What one version manager has installed, which version it uses by default and which
// versions projects pin. Internal to the Toolchains screen.

#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "screens/dev_tool_tables.h"
#include "screens/dev_tools_input.h"
#include "screens/project_pins.h"

namespace tw {

struct InstalledVersion {
  std::string name;                // as the manager names it: "v18.19.0", "stable-x86_64-unknown-linux-gnu"
  std::string version;             // the version number pins are compared with: "18.19.0", "stable"
  std::string candidate;           // SDKMAN's candidate ("java"); empty elsewhere
  std::vector<std::string> paths;  // the version's folder first, then files that belong to it
  bool readOnly = false;           // kept write-protected by its tool (Go's module cache)
  std::string resolved{};          // the folder with every link on the way resolved
};

struct ManagerFindings {
  std::string root;
  std::string versionsFolder;
  std::vector<InstalledVersion> versions;
  std::set<std::string> defaults;                       // folders of the default versions
  std::set<std::string> chosen;                         // folders a variable of this shell chooses
  std::map<std::string, std::vector<ProjectPin>> pins;  // folder -> the pins naming it
  // Why nothing of this manager may be pre-selected (a default or pin that could not be
  // read or resolved); empty when everything was understood.
  std::vector<std::string> problems;
};

// Reads one manager whose files are at `root`: its versions, defaults and pinned versions.
[[nodiscard]] ManagerFindings readManager(const ToolchainManager& manager, const std::string& root,
                                          const ProjectPins& pins, const DevToolsInput& input);

}  // namespace tw
