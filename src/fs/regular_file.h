#pragma once

#include <cstddef>
#include <optional>
#include <string>

namespace tw {

enum class LastLink { refuse, follow };

// The contents of a regular file of at most `maxBytes`, opened without following a link
// unless told to follow one in the last piece (a settings file kept with the user's
// dotfiles). Nothing for a missing, unreadable, oversized or special file: a FIFO or a
// device never blocks us and a huge file is never read.
[[nodiscard]] std::optional<std::string> readRegularFile(const std::string& path, std::size_t maxBytes,
                                                         LastLink lastLink = LastLink::refuse);

}  // namespace tw
