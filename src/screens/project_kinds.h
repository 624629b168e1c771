#pragma once

#include <set>
#include <string>
#include <vector>

#include "screens/projects.h"

namespace tw {

// The project kinds a platform adds after the shared ones: the rules tried after the
// shared rules, what else marks a folder as a project, and where the search never goes.
struct ProjectKinds {
  std::vector<Projects::Rule> rules;
  std::set<std::string> manifests;
  // A folder holding a file whose name ends with one of these is a project (".tf").
  std::vector<std::string> manifestSuffixes;
  // Folder names never searched for projects.
  std::set<std::string> skip;
  // Folders below the home folder never searched: stores of downloaded modules and
  // application sandboxes full of other people's projects.
  std::vector<std::string> skipBelowHome;
};

[[nodiscard]] const ProjectKinds& linuxProjectKinds();
[[nodiscard]] const ProjectKinds& macOSProjectKinds();
// The one for the platform this is built for.
[[nodiscard]] const ProjectKinds& platformProjectKinds();

}  // namespace tw
