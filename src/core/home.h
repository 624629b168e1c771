#pragma once

#include <string>

namespace tw {

// The user's home folder from $HOME (so tests can point it at a fake home), falling back
// to the password database; never ends in a slash unless it is "/".
[[nodiscard]] std::string homeDirectory();

}  // namespace tw
