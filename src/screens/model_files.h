#pragma once

#include <optional>
#include <string>

#include "core/date.h"
#include "core/dev_group.h"
#include "screens/ai_locations.h"
#include "screens/folder_entries.h"

namespace tw {

// When anything in a file or folder was last used: the newest access time below it.
[[nodiscard]] std::optional<Date> newestUse(const std::string& path);

// Used within the last 30 days, or nobody can say: never pre-selected.
[[nodiscard]] bool usedRecently(const std::optional<Date>& used, Date now);

// "last used 3 days ago", or "never opened" style text for an unknown date.
[[nodiscard]] std::string lastUsedText(const std::optional<Date>& used, Date now);

// The store of a tool that keeps one model per file or folder (LM Studio, PyTorch hub,
// Whisper, GPT4All): one item each, removed as a whole. Nothing when the folder holds none.
[[nodiscard]] DevGroupPtr modelFolderGroup(ModelLocations::Store store, const std::string& folder, Date now,
                                           const std::string& home);

}  // namespace tw
