#include "core/action_description.h"

#include <variant>

#include "fs/path.h"

namespace tw {
namespace {

bool needsQuoting(const std::string& word) { return word.find_first_of(" '\"$`\\()&;|<>*?") != std::string::npos; }

std::string describeCommand(const std::vector<std::string>& command) {
  std::string text;
  for (std::size_t i = 0; i < command.size(); ++i) {
    const std::string word = i == 0 ? lastPathComponent(command[i]) : command[i];
    if (i > 0) text += ' ';
    text += needsQuoting(word) ? "'" + word + "'" : word;
  }
  return text;
}

template <class... Cases>
struct Overloaded : Cases... {
  using Cases::operator()...;
};

}  // namespace

std::string describe(const DevAction& action, const std::string& home) {
  return std::visit(
      Overloaded{
          [&](const DevAction::RemovePaths& remove) -> std::string {
            if (remove.paths.size() == 1) return "delete " + tildePath(remove.paths.front(), home);
            if (remove.paths.empty()) return "delete 0 paths";
            return "delete " + std::to_string(remove.paths.size()) + " paths in " +
                   tildePath(parentPath(remove.paths.front()), home);
          },
          [&](const DevAction::Trash& trash) -> std::string {
            std::string text = "move to Trash: ";
            for (std::size_t i = 0; i < trash.paths.size(); ++i) {
              if (i > 0) text += ", ";
              text += tildePath(trash.paths[i], home);
            }
            return text;
          },
          [](const DevAction::Admin& admin) -> std::string { return "as administrator: " + admin.command; },
          [](const DevAction::Custom& custom) -> std::string {
            return custom.description.empty() ? "custom action" : custom.description;
          },
          [](const DevAction::Commands& commands) -> std::string {
            std::string text;
            for (const auto& command : commands.commands) {
              if (command.empty()) continue;  // performing skips them too
              if (!text.empty()) text += " && ";
              text += describeCommand(command);
            }
            return text;
          },
      },
      action.value);
}

}  // namespace tw
