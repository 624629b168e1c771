#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "core/dev_item.h"
#include "screens/dev_tool_tables.h"
#include "screens/dev_tools_input.h"

namespace tw {

using Keys = std::map<std::string, std::string>;

// `pattern` with every "{key}" replaced by its value; unknown keys stay as they are.
[[nodiscard]] std::string fillIn(const std::string& pattern, const Keys& keys);

// The command as a person would type it: "pnpm store prune".
[[nodiscard]] std::string commandText(const ToolCommand& command, const Keys& keys);

// The argument vector of the command, its tool found and "{key}"s filled in; nothing when
// the command has no tool, or the tool or something it needs is missing.
[[nodiscard]] std::optional<std::vector<std::string>> commandLine(const ToolCommand& command,
                                                                  const DevToolsInput& input, const Keys& keys);

// The owning tool's command when it can run, otherwise moving `paths` to the Trash.
[[nodiscard]] DevAction toolOrTrash(const ToolCommand& command, const DevToolsInput& input, const Keys& keys,
                                    const std::vector<std::string>& paths);

// A command whose tool is looked for once (with `keys` naming its folders) and then
// filled in for many items.
class PreparedCommand {
 public:
  PreparedCommand(const ToolCommand& command, const DevToolsInput& input, const Keys& keys);
  // As toolOrTrash, for one item's keys.
  [[nodiscard]] DevAction actionFor(const Keys& keys, const std::vector<std::string>& paths) const;

 private:
  ToolCommand command_;
  std::optional<std::string> tool_;
};

// Moves `paths` to the Trash after giving back write permission to the folders inside
// them, which tools such as Go keep read-only so that nothing edits them by accident.
// The context names the Trash.
[[nodiscard]] DevAction trashWriteProtected(const std::vector<std::string>& paths, const Context& context);

}  // namespace tw
