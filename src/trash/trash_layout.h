#pragma once

#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "core/context.h"
#include "core/date.h"
#include "trash/trash_item.h"

namespace tw {

// Where this platform keeps trashed items and what it records about them.
struct TrashLayout {
  // What the Trash's own metadata says about one entry.
  struct Record {
    std::optional<std::string> origin;
    std::optional<Date> trashed;
  };

  enum class FileManagerResult { emptied, failed, notAllowed, unavailable };

  // The current user's Trash folders, the home Trash first (listed even when missing),
  // then those of mounted volumes that exist.
  [[nodiscard]] static std::vector<TrashDir> dirs(const Context& context);

  // The home Trash alone (the first of dirs()), without looking at any volume.
  [[nodiscard]] static TrashDir homeDir(const Context& context);

  // Origin and trash date of each named entry of `dir`, as far as they are recorded.
  [[nodiscard]] static std::map<std::string, Record> records(const TrashDir& dir, const std::set<std::string>& names,
                                                             const Context& context);

  // Names of entries that `dir` still keeps records of although the entries are gone
  // (deleted by another program, say): their records are left over.
  [[nodiscard]] static std::vector<std::string> orphanedRecords(const TrashDir& dir);

  // Files that describe one entry; they go when the entry is deleted or put back.
  [[nodiscard]] static std::vector<std::string> companions(const TrashDir& dir, const std::string& name);

  // What the user can do when the home Trash cannot be read (one sentence).
  [[nodiscard]] static std::string unreadableAdvice();

  // Shell command that an administrator runs to remove these paths for good.
  [[nodiscard]] static std::string adminRemoveCommand(const std::vector<std::string>& paths);

  // Asks the system file manager to empty the Trash.
  [[nodiscard]] static FileManagerResult emptyWithFileManager(const Context& context);
  // What the file manager did, in one sentence for the user (nothing for "unavailable").
  [[nodiscard]] static std::string fileManagerSentence(FileManagerResult result);
};

}  // namespace tw
