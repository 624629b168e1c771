#pragma once

#include <stop_token>
#include <string>
#include <vector>

namespace tw::app {

// A folder directly under the home folder that holds code projects somewhere below it.
struct CodeFolder {
  std::string path;
  int projects = 0;
};

// The home folder's children that hold projects (not those that are one), the fullest
// first, then by name. A stop request ends the search early with what was found.
[[nodiscard]] std::vector<CodeFolder> codeFoldersUnder(const std::string& home, std::stop_token stop = {});

}  // namespace tw::app
