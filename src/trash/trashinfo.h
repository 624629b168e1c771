#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "core/date.h"

namespace tw {

// What a freedesktop info/NAME.trashinfo file says about one trashed item (the Trash
// mover writes them: fs/trashinfo_writer.h).
struct TrashInfo {
  std::optional<std::string> path;   // absolute original location
  std::optional<Date> deletionDate;  // DeletionDate, read as local time
};

// Reads the "[Trash Info]" group. `topDir` is the folder that relative Path values are
// taken from (the folder the Trash folder lives in). A missing or undecodable Path, a
// malformed date or a file that is not a trashinfo at all leaves the field absent.
[[nodiscard]] TrashInfo parseTrashInfo(std::string_view text, std::string_view topDir);

// "%41b" -> "Ab"; nothing when a '%' is not followed by two hexadecimal digits.
[[nodiscard]] std::optional<std::string> percentDecoded(std::string_view text);

// "YYYY-MM-DDThh:mm:ss" in the local time zone; nothing for anything else.
[[nodiscard]] std::optional<Date> parseLocalDateTime(std::string_view text);

}  // namespace tw
