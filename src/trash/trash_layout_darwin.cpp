#include <sys/attr.h>
#include <unistd.h>

#include <cstring>

#include "core/shell.h"
#include "core/shell_quote.h"
#include "fs/path.h"
#include "trash/finder_layout.h"
#include "trash/trash_layout.h"

namespace tw {
namespace {

// The date the file system added the item to its folder (when it entered the Trash).
std::optional<Date> dateAdded(const std::string& path) {
  struct attrlist request {};
  request.bitmapcount = ATTR_BIT_MAP_COUNT;
  request.commonattr = ATTR_CMN_ADDEDTIME;
  struct {
    std::uint32_t length;
    struct timespec added;
  } __attribute__((aligned(4), packed)) reply{};
  if (::getattrlist(path.c_str(), &request, &reply, sizeof reply, FSOPT_NOFOLLOW) != 0) return std::nullopt;
  if (reply.length < sizeof reply) return std::nullopt;
  return dateFromSeconds(reply.added.tv_sec);
}

}  // namespace

std::vector<TrashDir> TrashLayout::dirs(const Context& context) {
  return FinderLayout::trashDirs(context.home, "/Volumes", static_cast<unsigned>(::getuid()));
}

TrashDir TrashLayout::homeDir(const Context& context) { return {joinPath(context.home, ".Trash"), "/"}; }

std::map<std::string, TrashLayout::Record> TrashLayout::records(const TrashDir& dir, const std::set<std::string>& names,
                                                                const Context&) {
  const auto putBacks = FinderLayout::putBackInfo(dir.dir, names);
  std::map<std::string, Record> result;
  for (const auto& name : names) {
    Record record;
    record.trashed = dateAdded(joinPath(dir.dir, name));
    if (const auto found = putBacks.find(name); found != putBacks.end()) {
      record.origin = FinderLayout::origin(found->second, name, dir.volumeRoot);
    }
    result[name] = std::move(record);
  }
  return result;
}

std::vector<std::string> TrashLayout::companions(const TrashDir&, const std::string&) { return {}; }

std::string TrashLayout::unreadableAdvice() {
  return "Give your terminal (or Tidewarden) Full Disk Access in System Settings › Privacy & Security, then try "
         "again.";
}

std::string TrashLayout::adminRemoveCommand(const std::vector<std::string>& paths) {
  const std::string quoted = shellQuoted(paths);
  return "/usr/bin/chflags -R nouchg,noschg " + quoted + " 2>/dev/null; /bin/rm -rfx " + quoted;
}

TrashLayout::FileManagerResult TrashLayout::emptyWithFileManager(const Context& context) {
  const auto result =
      Shell::run("/usr/bin/osascript", {"-e", "tell application \"Finder\" to empty trash"}, 600, context);
  if (result.code == 0) return FileManagerResult::emptied;
  // -1743: the user has not allowed this app to send Apple events to Finder.
  if (result.err.find("-1743") != std::string::npos) return FileManagerResult::notAllowed;
  return FileManagerResult::failed;
}

// The Finder keeps its put-back records in one .DS_Store per folder, never one per entry.
std::vector<std::string> TrashLayout::orphanedRecords(const TrashDir&) { return {}; }

std::string TrashLayout::fileManagerSentence(FileManagerResult result) {
  switch (result) {
    case FileManagerResult::emptied:
      return "Finder emptied the Trash.";
    case FileManagerResult::failed:
      return "Finder couldn't empty the Trash. Try Finder › Empty Trash.";
    case FileManagerResult::notAllowed:
      return "Tidewarden isn't allowed to control Finder. Turn it on in System Settings › Privacy & Security › "
             "Automation, or empty the Trash from Finder.";
    case FileManagerResult::unavailable:
      break;
  }
  return {};
}

}  // namespace tw
