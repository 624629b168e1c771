#pragma once

#include <map>
#include <string>

namespace tw {

// A copy of this process's environment, for code that takes the environment as an input.
[[nodiscard]] std::map<std::string, std::string> processEnvironment();

}  // namespace tw
