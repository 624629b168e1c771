#pragma once

#include <string>
#include <vector>

namespace tw {

// One word for a POSIX shell, whatever it contains: 'it'\''s'.
[[nodiscard]] std::string shellQuoted(const std::string& word);

// The words quoted and joined with spaces.
[[nodiscard]] std::string shellQuoted(const std::vector<std::string>& words);

}  // namespace tw
