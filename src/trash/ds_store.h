#pragma once

#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>

namespace tw {

// Where the Finder would put a trashed item back: its former folder (relative to the
// volume, with or without leading or trailing slashes) and its former name.
struct PutBack {
  std::optional<std::string> location;
  std::optional<std::string> name;
  friend bool operator==(const PutBack&, const PutBack&) = default;
};

// Reads the put-back records ("ptbL" folder, "ptbN" name, both "ustr") out of the raw
// bytes of a Trash folder's .DS_Store, keyed by the item's current name. Only names in
// `names` (what the Trash folder really holds) are accepted. The file's B-tree is not
// walked: the records are found by scanning, which tolerates damaged and foreign files;
// anything that does not fit yields fewer entries, never an error.
[[nodiscard]] std::map<std::string, PutBack> parsePutBackRecords(std::string_view data,
                                                                 const std::set<std::string>& names);

// Big-endian UTF-16 to UTF-8; nothing for an odd byte count or an unpaired surrogate.
[[nodiscard]] std::optional<std::string> decodeUtf16BigEndian(std::string_view bytes);

}  // namespace tw
