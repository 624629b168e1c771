#include "trash/put_back.h"

#include <system_error>

#include "fs/file_io.h"
#include "fs/path.h"
#include "trash/move_item.h"
#include "trash/trash_paths.h"

namespace tw {
namespace {

constexpr int maxAttempts = 1000;

std::string failure(const std::string& name, const std::string& reason) { return name + " (" + reason + ")."; }

// Empty on success, else the reason in the user's words.
std::string moveBack(const std::string& from, const std::string& origin, std::string& placedAt,
                     const Context& context) {
  if (const auto error = createDirectories(parentPath(origin)); error) return error.message();
  for (int attempt = 1; attempt <= maxAttempts; ++attempt) {
    const std::string candidate = alternativePath(origin, attempt);
    const std::error_code error = moveWithoutReplacing(from, candidate, context);
    if (!error) {
      placedAt = candidate;
      return "";
    }
    if (error != std::errc::file_exists && error != std::errc::directory_not_empty) return error.message();
  }
  return "no free name at the original location";
}

}  // namespace

std::string alternativePath(const std::string& path, int attempt) {
  if (attempt <= 1) return path;
  const std::string name = lastPathComponent(path);
  // A leading dot starts a hidden name, not an extension.
  const auto dot = name.rfind('.');
  const bool hasExtension = dot != std::string::npos && dot > 0 && dot + 1 < name.size();
  const std::string stem = hasExtension ? name.substr(0, dot) : name;
  const std::string extension = hasExtension ? name.substr(dot) : "";
  return joinPath(parentPath(path), stem + " " + std::to_string(attempt) + extension);
}

PutBackResult putBackItems(const std::vector<TrashItem>& items, const std::vector<TrashDir>& dirs,
                           const Context& context) {
  PutBackResult result;
  for (const auto& item : items) {
    const auto dir = containingTrashDir(item.path, dirs);
    if (!dir) continue;
    if (!item.origin) {
      result.failures.push_back(item.name + " (no original location recorded).");
      continue;
    }
    std::string placedAt;
    const std::string reason = moveBack(item.path, *item.origin, placedAt, context);
    if (!reason.empty()) {
      result.failures.push_back(failure(item.name, reason));
      continue;
    }
    forgetTrashRecords(trustedTopOf(*dir, context), *dir, item.name);
    result.restored.push_back(placedAt);
  }
  return result;
}

}  // namespace tw
