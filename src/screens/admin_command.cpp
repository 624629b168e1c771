#include "screens/admin_command.h"

#include "core/shell_quote.h"

namespace tw {

DevAction adminCommands(const std::vector<std::vector<std::string>>& commands) {
  std::string script;
  for (const auto& words : commands) {
    if (!script.empty()) script += " && ";
    script += shellQuoted(words);
  }
  return DevAction::admin(std::move(script));
}

}  // namespace tw
