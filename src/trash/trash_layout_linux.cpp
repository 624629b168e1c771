#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <string_view>

#include "core/shell.h"
#include "core/shell_quote.h"
#include "fs/mounts.h"
#include "fs/path.h"
#include "fs/regular_file.h"
#include "fs/stat_times.h"
#include "fs/usage.h"
#include "trash/freedesktop_layout.h"
#include "trash/trash_layout.h"
#include "trash/trashinfo.h"

namespace tw {
namespace {

// A .trashinfo is a few lines; anything much larger is not one.
constexpr std::size_t maxTrashInfoBytes = 64 * 1024;
constexpr std::string_view trashInfoSuffix = ".trashinfo";

std::optional<Date> changeTime(const std::string& path) {
  struct stat info {};
  if (::lstat(path.c_str(), &info) != 0) return std::nullopt;
  return dateFromSeconds(changedNanoseconds(info) / 1'000'000'000);
}

}  // namespace

std::vector<TrashDir> TrashLayout::dirs(const Context& context) {
  return FreedesktopLayout::trashDirs(context.dataHome, mountedVolumes(), static_cast<unsigned>(::getuid()));
}

TrashDir TrashLayout::homeDir(const Context& context) {
  return FreedesktopLayout::trashDirs(context.dataHome, {}, 0).front();
}

std::map<std::string, TrashLayout::Record> TrashLayout::records(const TrashDir& dir, const std::set<std::string>& names,
                                                                const Context& context) {
  const std::string top = FreedesktopLayout::topDir(dir, context.dataHome);
  std::map<std::string, Record> result;
  for (const auto& name : names) {
    const auto text = readRegularFile(FreedesktopLayout::infoPath(dir, name), maxTrashInfoBytes);
    if (!text) {
      // Put there without a record (by hand, or by a program that wrote none): moving it in
      // changed it last, so its change time is when it was trashed.
      if (const auto changed = changeTime(joinPath(dir.dir, name))) result[name] = Record{std::nullopt, *changed};
      continue;
    }
    const TrashInfo info = parseTrashInfo(*text, top);
    result[name] = Record{info.path, info.deletionDate};
  }
  return result;
}

std::vector<std::string> TrashLayout::companions(const TrashDir& dir, const std::string& name) {
  return {FreedesktopLayout::infoPath(dir, name)};
}

std::string TrashLayout::unreadableAdvice() { return "Check that folder's permissions, then try again."; }

std::string TrashLayout::adminRemoveCommand(const std::vector<std::string>& paths) {
  // Immutable and append-only files resist even root until their flags are cleared.
  const std::string quoted = shellQuoted(paths);
  return "/usr/bin/chattr -R -f -ia -- " + quoted + " 2>/dev/null; /bin/rm -rf --one-file-system -- " + quoted;
}

std::vector<std::string> TrashLayout::orphanedRecords(const TrashDir& dir) {
  const auto entries = listFolder(joinPath(parentPath(dir.dir), "info"));
  if (!entries) return {};
  std::vector<std::string> orphans;
  for (const auto& entry : *entries) {
    if (entry.isDir || !entry.name.ends_with(trashInfoSuffix) || entry.name.size() == trashInfoSuffix.size()) continue;
    const std::string name = entry.name.substr(0, entry.name.size() - trashInfoSuffix.size());
    struct stat info {};
    if (::lstat(joinPath(dir.dir, name).c_str(), &info) != 0 && errno == ENOENT) orphans.push_back(name);
  }
  return orphans;
}

// GLib's gio empties the Trash the way the desktop's file manager does; it answers success
// even where no Trash service runs, so what is left in the home Trash decides.
TrashLayout::FileManagerResult TrashLayout::emptyWithFileManager(const Context& context) {
  const auto gio = Shell::which("gio", context);
  if (!gio) return FileManagerResult::unavailable;
  const auto result = Shell::run(*gio, {"trash", "--empty"}, 600, context);
  const auto left = listFolder(homeDir(context).dir);
  if (result.code != 0 || (left && !left->empty())) return FileManagerResult::failed;
  return FileManagerResult::emptied;
}

std::string TrashLayout::fileManagerSentence(FileManagerResult result) {
  switch (result) {
    case FileManagerResult::emptied:
      return "The file manager emptied the Trash.";
    case FileManagerResult::failed:
    case FileManagerResult::notAllowed:
      return "The file manager couldn't empty the Trash. Select the items and delete them here instead.";
    case FileManagerResult::unavailable:
      break;
  }
  return {};
}

}  // namespace tw
