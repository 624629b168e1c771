#pragma once

#include <string>
#include <string_view>

namespace tw {

// Whether the folder `name` inside `parent` is a Trash folder of either layout: the
// Finder's ".Trash", a volume's ".Trash" or ".Trash-UID", or a freedesktop home Trash
// ("Trash" holding "files" and "info", wherever $XDG_DATA_HOME puts it). What lies in a
// Trash is already on its way out, so no search offers it anywhere else.
[[nodiscard]] bool isTrashFolder(const std::string& parent, std::string_view name);

}  // namespace tw
