#include "core/shell_quote.h"

namespace tw {

std::string shellQuoted(const std::string& word) {
  std::string quoted = "'";
  for (const char c : word) {
    if (c == '\'') {
      quoted += "'\\''";
    } else {
      quoted += c;
    }
  }
  return quoted + "'";
}

std::string shellQuoted(const std::vector<std::string>& words) {
  std::string joined;
  for (const auto& word : words) {
    if (!joined.empty()) joined += ' ';
    joined += shellQuoted(word);
  }
  return joined;
}

}  // namespace tw
