#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "fs/mounts.h"
#include "trash/trash_item.h"

namespace tw {

// The freedesktop.org Trash as Linux desktops and trash-cli keep it.
struct FreedesktopLayout {
  // Kernel and virtual file systems that never hold a user's Trash.
  [[nodiscard]] static bool isPseudoFileSystem(std::string_view type);

  // The home Trash's files folder first, then for each real mount "$top/.Trash/UID/files"
  // (only when $top/.Trash is a sticky folder and not a link) and "$top/.Trash-UID/files",
  // each only when it exists as a folder.
  [[nodiscard]] static std::vector<TrashDir> trashDirs(const std::string& dataHome,
                                                       const std::vector<MountedVolume>& mounts, unsigned uid);

  // The folder that relative Path values in this Trash's info files start from.
  [[nodiscard]] static std::string topDir(const TrashDir& dir, const std::string& dataHome);

  // "<trash>/info/<name>.trashinfo" for "<trash>/files".
  [[nodiscard]] static std::string infoPath(const TrashDir& dir, const std::string& name);
};

}  // namespace tw
