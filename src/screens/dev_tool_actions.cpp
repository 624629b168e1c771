#include "screens/dev_tool_actions.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <memory>

#include "fs/file_io.h"
#include "fs/path.h"
#include "fs/trash_mover.h"
#include "fs/unique_fd.h"

namespace tw {
namespace {

struct DirCloser {
  void operator()(DIR* dir) const { ::closedir(dir); }
};

// The names of the folders directly inside the open folder `fd`.
std::vector<std::string> subfolderNames(int fd) {
  std::vector<std::string> names;
  UniqueFd copy{::dup(fd)};
  if (!copy) return names;
  std::unique_ptr<DIR, DirCloser> dir(::fdopendir(copy.get()));
  if (!dir) return names;
  (void)copy.release();  // the DIR owns it now
  while (const dirent* entry = ::readdir(dir.get())) {
    const std::string name = entry->d_name;
    if (name == "." || name == "..") continue;
    struct stat info {};
    if (::fstatat(fd, entry->d_name, &info, AT_SYMLINK_NOFOLLOW) == 0 && S_ISDIR(info.st_mode)) names.push_back(name);
  }
  return names;
}

// Adds the owner's write permission to a folder and every folder below it, reached
// through descriptors and never through a link.
void makeFoldersWritable(int parent, const std::string& name, int depth) {
  constexpr int deepestFolder = 64;
  UniqueFd fd{::openat(parent, name.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC)};
  if (!fd || depth > deepestFolder) return;
  struct stat info {};
  if (::fstat(fd.get(), &info) != 0 || info.st_uid != ::getuid()) return;
  if ((info.st_mode & S_IWUSR) == 0) ::fchmod(fd.get(), (info.st_mode & 07777) | S_IWUSR);
  for (const auto& child : subfolderNames(fd.get())) makeFoldersWritable(fd.get(), child, depth + 1);
}

}  // namespace

std::string fillIn(const std::string& pattern, const Keys& keys) {
  std::string text;
  for (std::size_t at = 0; at < pattern.size();) {
    const std::size_t open = pattern.find('{', at);
    const std::size_t close = open == std::string::npos ? open : pattern.find('}', open);
    if (close == std::string::npos) {
      text += pattern.substr(at);
      break;
    }
    text += pattern.substr(at, open - at);
    const auto value = keys.find(pattern.substr(open + 1, close - open - 1));
    text += value != keys.end() ? value->second : pattern.substr(open, close - open + 1);
    at = close + 1;
  }
  return text;
}

std::string commandText(const ToolCommand& command, const Keys& keys) {
  std::string text = command.tool;
  for (const auto& argument : command.arguments) text += " " + fillIn(argument, keys);
  return text;
}

namespace {

// The tool, when the command has one and it and everything it needs are there.
std::optional<std::string> findTool(const ToolCommand& command, const DevToolsInput& input, const Keys& keys) {
  if (command.tool.empty()) return std::nullopt;
  for (const auto& need : command.needs) {
    const auto path = input.expand(need, keys);
    if (!path || !pathExists(*path)) return std::nullopt;
  }
  return input.tool(command.tool, command.toolFolders, keys);
}

std::vector<std::string> filledIn(const std::string& tool, const ToolCommand& command, const Keys& keys) {
  std::vector<std::string> line{tool};
  for (const auto& argument : command.arguments) line.push_back(fillIn(argument, keys));
  return line;
}

}  // namespace

std::optional<std::vector<std::string>> commandLine(const ToolCommand& command, const DevToolsInput& input,
                                                    const Keys& keys) {
  const auto tool = findTool(command, input, keys);
  if (!tool) return std::nullopt;
  return filledIn(*tool, command, keys);
}

PreparedCommand::PreparedCommand(const ToolCommand& command, const DevToolsInput& input, const Keys& keys)
    : command_(command), tool_(findTool(command, input, keys)) {}

DevAction PreparedCommand::actionFor(const Keys& keys, const std::vector<std::string>& paths) const {
  if (!tool_) return DevAction::trash(paths);
  return DevAction::commands({filledIn(*tool_, command_, keys)});
}

DevAction toolOrTrash(const ToolCommand& command, const DevToolsInput& input, const Keys& keys,
                      const std::vector<std::string>& paths) {
  if (auto line = commandLine(command, input, keys)) return DevAction::commands({std::move(*line)});
  return DevAction::trash(paths);
}

DevAction trashWriteProtected(const std::vector<std::string>& paths, const Context& context) {
  return DevAction::custom([paths, trash = TrashHome{context.home, context.dataHome}]() -> std::optional<std::string> {
    for (const auto& path : paths) {
      if (!pathExists(path)) continue;
      UniqueFd parent{::open(parentPath(path).c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)};
      if (parent && isFolder(path)) makeFoldersWritable(parent.get(), lastPathComponent(path), 0);
      if (moveToTrash(path, trash)) return "Couldn't move " + lastPathComponent(path) + " to the Trash";
    }
    return std::nullopt;
  });
}

}  // namespace tw
