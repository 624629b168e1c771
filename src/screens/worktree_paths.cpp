#include "screens/worktree_paths.h"

#include <sys/stat.h>

#include <optional>

#include "core/text.h"
#include "fs/file_io.h"
#include "fs/path.h"
#include "fs/regular_file.h"
#include "fs/usage.h"

namespace tw {
namespace {

// A gitdir record holds one path.
constexpr std::size_t maxRecordBytes = 64 * 1024;

// The worktree folder a "gitdir" record names: its ".git" file's path, on one line.
std::optional<std::string> recordedFolder(const std::string& record) {
  auto text = readRegularFile(record, maxRecordBytes);
  if (!text) return std::nullopt;
  while (!text->empty() && (text->back() == '\n' || text->back() == '\r')) text->pop_back();
  if (!text->ends_with("/.git")) return std::nullopt;
  return parentPath(*text);
}

}  // namespace

std::string recordedWorktreePath(const std::string& reported, const std::string& gitDir) {
  if (reported.find("\xef\xbf\xbd") == std::string::npos || pathExists(reported)) return reported;
  const std::string records = gitDir + "/worktrees";
  const auto entries = listFolder(records);
  if (!entries) return reported;
  std::optional<std::string> match;
  for (const auto& entry : *entries) {
    if (!entry.isDir) continue;
    const auto folder = recordedFolder(records + "/" + entry.name + "/gitdir");
    if (!folder || validUtf8(*folder) != reported) continue;
    if (match) return reported;  // two records read the same: neither can be trusted
    match = folder;
  }
  return match.value_or(reported);
}

}  // namespace tw
