#include <sys/stat.h>

#include "core/admin_batch.h"
#include "core/dev_item.h"
#include "core/dev_safety.h"
#include "core/path.h"
#include "core/shell.h"
#include "core/text.h"
#include "core/trash_mover.h"
#include "lens/safe_remove.h"

namespace tw {
namespace {

// Tool commands may rebuild indexes or prune large caches.
constexpr double commandTimeout = 300;

bool existsWithoutFollowing(const std::string& path) {
  struct stat info {};
  return ::lstat(path.c_str(), &info) == 0;
}

std::optional<std::string> removeEach(const DevAction::RemovePaths& action) {
  for (const auto& path : action.paths) {
    if (!existsWithoutFollowing(path)) continue;  // already gone is as good as removed
    if (!DevSafety::canRemove(path)) return "Refused to delete " + path;
    // The same descriptor-walking removal as DiskScanner::remove, whose home-only guard
    // would refuse project roots elsewhere; here canRemove is the guard, and we keep the
    // system's reason for the message.
    if (const auto error = removeTreeSafely(path)) {
      return "Couldn't delete " + lastPathComponent(path) + ": " + error.message();
    }
  }
  return std::nullopt;
}

std::optional<std::string> trashEach(const DevAction::Trash& action) {
  for (const auto& path : action.paths) {
    if (!existsWithoutFollowing(path)) continue;
    if (!moveToTrash(path)) return "Couldn't move " + lastPathComponent(path) + " to the Trash";
  }
  return std::nullopt;
}

std::optional<std::string> runEach(const DevAction::Commands& action) {
  for (const auto& command : action.commands) {
    if (command.empty()) continue;
    const std::vector<std::string> arguments(command.begin() + 1, command.end());
    const auto result = Shell::run(command.front(), arguments, commandTimeout);
    if (result.code == 0) continue;
    std::string error = trimmed(result.err);
    return error.empty() ? lastPathComponent(command.front()) + " failed" : error;
  }
  return std::nullopt;
}

struct Performer {
  std::optional<std::string> operator()(const DevAction::RemovePaths& action) const { return removeEach(action); }
  std::optional<std::string> operator()(const DevAction::Trash& action) const { return trashEach(action); }
  std::optional<std::string> operator()(const DevAction::Admin& action) const {
    return runAsAdministrator(action.command);
  }
  std::optional<std::string> operator()(const DevAction::Custom& action) const {
    return action.run ? action.run() : std::nullopt;
  }
  std::optional<std::string> operator()(const DevAction::Commands& action) const { return runEach(action); }
};

}  // namespace

std::optional<std::string> DevAction::perform() const { return std::visit(Performer{}, value); }

}  // namespace tw
