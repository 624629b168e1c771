#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstdlib>
#include <ctime>
#include <memory>

#include <fmt/format.h>

#include "fs/file_io.h"
#include "fs/path.h"
#include "fs/trash_mover.h"
#include "fs/trashinfo_writer.h"
#include "fs/unique_fd.h"

// The freedesktop.org Trash layout, which desktop file managers and trash-cli share:
// <trash>/files/NAME holds the item and <trash>/info/NAME.trashinfo where it came from.
namespace tw {
namespace {

constexpr int mostNameAttempts = 10'000;
constexpr std::size_t longestTrashName = NAME_MAX - std::char_traits<char>::length(".trashinfo");

struct TrashFolder {
  std::string path;
  std::string pathsRelativeTo;  // empty: the home Trash records absolute paths
};

std::optional<dev_t> deviceOfNearestExisting(std::string path) {
  for (;;) {
    struct stat info {};
    if (::stat(path.c_str(), &info) == 0) return info.st_dev;
    if (path == "/" || path == ".") return std::nullopt;
    path = parentPath(path);
  }
}

// The mount point holding `path`: the highest ancestor still on the same device.
std::string volumeTop(const std::string& path, dev_t device) {
  std::string top = path;
  while (top != "/") {
    const std::string parent = parentPath(top);
    struct stat info {};
    if (::stat(parent.c_str(), &info) != 0 || info.st_dev != device) break;
    top = parent;
  }
  return top;
}

// A volume Trash must be a real folder of ours: anyone could have planted a link there.
bool isPrivateFolder(const std::string& path) {
  struct stat info {};
  return ::lstat(path.c_str(), &info) == 0 && S_ISDIR(info.st_mode) && info.st_uid == ::getuid();
}

bool makePrivateFolder(const std::string& path) {
  if (::mkdir(path.c_str(), 0700) != 0 && errno != EEXIST) return false;
  return isPrivateFolder(path);
}

std::optional<TrashFolder> trashFor(const std::string& path, dev_t device, const TrashHome& trashHome) {
  const std::string home = joinPath(trashHome.dataHome, "Trash");
  if (deviceOfNearestExisting(home) == device) {
    if (createDirectories(home, 0700)) return std::nullopt;
    if (!makePrivateFolder(home + "/files") || !makePrivateFolder(home + "/info")) return std::nullopt;
    return TrashFolder{home, ""};
  }
  const std::string top = volumeTop(parentPath(path), device);
  const std::string trash = joinPath(top, fmt::format(".Trash-{}", ::getuid()));
  if (!makePrivateFolder(trash) || !makePrivateFolder(trash + "/files") || !makePrivateFolder(trash + "/info")) {
    return std::nullopt;
  }
  return TrashFolder{trash, top};
}

// Long names are shortened so that NAME.trashinfo still fits, without splitting a character.
std::string fittingName(std::string name) {
  if (name.size() <= longestTrashName) return name;
  std::size_t cut = longestTrashName - 8;
  while (cut > 0 && (static_cast<unsigned char>(name[cut]) & 0xC0) == 0x80) --cut;
  return name.substr(0, cut);
}

// "report.pdf", "report.2.pdf", "report.3.pdf"...; ".profile" and "notes" get ".2" at the end.
std::string candidateName(const std::string& name, int attempt) {
  if (attempt == 1) return name;
  const std::size_t dot = name.rfind('.');
  if (dot == std::string::npos || dot == 0) return fmt::format("{}.{}", name, attempt);
  return fmt::format("{}.{}{}", name.substr(0, dot), attempt, name.substr(dot));
}

std::error_code lastError() { return {errno, std::generic_category()}; }

std::error_code moveInto(const TrashFolder& trash, const std::string& path) {
  const std::string recorded = trash.pathsRelativeTo.empty()  ? path
                               : trash.pathsRelativeTo == "/" ? path.substr(1)
                                                              : path.substr(trash.pathsRelativeTo.size() + 1);
  const std::string info = formatTrashInfo(recorded, std::chrono::system_clock::now());
  const std::string name = fittingName(lastPathComponent(path));
  for (int attempt = 1; attempt <= mostNameAttempts; ++attempt) {
    const std::string candidate = candidateName(name, attempt);
    const std::string infoPath = trash.path + "/info/" + candidate + ".trashinfo";
    const std::string filesPath = trash.path + "/files/" + candidate;
    // The info file is claimed first, exclusively: it reserves the name against other
    // Trash clients doing the same.
    UniqueFd fd{::open(infoPath.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0600)};
    if (!fd) {
      if (errno == EEXIST) continue;
      return lastError();
    }
    struct stat existing {};
    if (::lstat(filesPath.c_str(), &existing) == 0) {  // a stray item without its info file
      fd.reset();
      ::unlink(infoPath.c_str());
      continue;
    }
    std::error_code error;
    error = writeAll(fd.get(), info);
    if (!error && ::fsync(fd.get()) != 0) error = lastError();
    fd.reset();
    if (!error && ::rename(path.c_str(), filesPath.c_str()) != 0) error = lastError();
    if (error) ::unlink(infoPath.c_str());
    return error;
  }
  return std::make_error_code(std::errc::file_exists);
}

}  // namespace

std::error_code moveToTrash(const std::string& path, const TrashHome& trashHome) {
  const std::string standardized = standardizePath(path);
  if (standardized.empty() || standardized.front() != '/' || standardized == "/") {
    return std::make_error_code(std::errc::invalid_argument);
  }
  // Record where the item really is: the parent chain may run through links.
  const auto parent = resolvedPath(parentPath(standardized));
  if (!parent) return lastError();
  const std::string item = joinPath(*parent, lastPathComponent(standardized));
  struct stat info {
  }, parentInfo{};
  if (::lstat(item.c_str(), &info) != 0 || ::stat(parent->c_str(), &parentInfo) != 0) return lastError();
  // A mount point cannot be moved, and its volume's Trash would lie inside it.
  if (info.st_dev != parentInfo.st_dev) return std::make_error_code(std::errc::device_or_resource_busy);
  const auto trash = trashFor(item, info.st_dev, trashHome);
  if (!trash) return std::make_error_code(std::errc::permission_denied);
  if (auto error = moveInto(*trash, item)) return error;
  if (pathExists(item)) return std::make_error_code(std::errc::file_exists);
  return {};
}

}  // namespace tw
