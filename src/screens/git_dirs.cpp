#include "screens/git_dirs.h"

#include <sys/stat.h>

#include "core/text.h"
#include "fs/file_io.h"
#include "fs/path.h"
#include "fs/regular_file.h"

namespace tw {
namespace {

// A ".git" file or a "commondir" record holds one line.
constexpr std::size_t maxRecordBytes = 64 * 1024;

// The path on the first line of a record that starts with `prefix`, relative to `base`.
std::optional<std::string> recordedPath(const std::string& record, std::string_view prefix, const std::string& base) {
  // Anything but a small regular file in its place is not a git record.
  const auto text = readRegularFile(record, maxRecordBytes);
  if (!text) return std::nullopt;
  for (const auto& line : splitLines(*text)) {
    if (!line.starts_with(prefix)) continue;
    const std::string target = trimmed(std::string_view(line).substr(prefix.size()));
    if (target.empty()) return std::nullopt;
    return standardizePath(target.front() == '/' ? target : joinPath(base, target));
  }
  return std::nullopt;
}

bool isBareRepository(const std::string& folder) {
  struct stat head {};
  return ::lstat(joinPath(folder, "HEAD").c_str(), &head) == 0 && S_ISREG(head.st_mode) &&
         isFolder(joinPath(folder, "objects")) && isFolder(joinPath(folder, "refs"));
}

}  // namespace

bool isGitDirectory(const std::vector<FolderEntry>& entries) {
  bool head = false, objects = false, refs = false;
  for (const auto& entry : entries) {
    if (entry.name == "HEAD") head = !entry.isDir;
    if (entry.name == "objects") objects = entry.isDir;
    if (entry.name == "refs") refs = entry.isDir;
  }
  return head && objects && refs;
}

std::optional<std::string> gitDirectoryOf(const std::string& folder) {
  const std::string dotGit = joinPath(folder, ".git");
  struct stat info {};
  if (::lstat(dotGit.c_str(), &info) == 0) {
    if (S_ISDIR(info.st_mode)) return dotGit;
    if (S_ISREG(info.st_mode)) return recordedPath(dotGit, "gitdir:", folder);
    return std::nullopt;
  }
  if (isBareRepository(folder)) return folder;
  return std::nullopt;
}

std::string commonGitDirectory(const std::string& gitDir) {
  return recordedPath(joinPath(gitDir, "commondir"), "", gitDir).value_or(gitDir);
}

}  // namespace tw
