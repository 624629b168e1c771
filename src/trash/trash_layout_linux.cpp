#include <unistd.h>

#include "core/shell_quote.h"
#include "fs/mounts.h"
#include "fs/regular_file.h"
#include "trash/freedesktop_layout.h"
#include "trash/trash_layout.h"
#include "trash/trashinfo.h"

namespace tw {
namespace {

// A .trashinfo is a few lines; anything much larger is not one.
constexpr std::size_t maxTrashInfoBytes = 64 * 1024;

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
    if (!text) continue;
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

TrashLayout::FileManagerResult TrashLayout::emptyWithFileManager(const Context&) {
  return FileManagerResult::unavailable;
}

}  // namespace tw
