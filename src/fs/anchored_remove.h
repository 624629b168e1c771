#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <system_error>

#include "fs/file_identity.h"

namespace tw {

// How removing one item below a trusted folder ended.
struct AnchoredRemoval {
  // Empty when the item is gone. ELOOP: a link (or a file) stood in its path; EBUSY: it is
  // a mount point; EXDEV: a mount inside it was left alone; ESTALE: it is no longer what was
  // listed; EINVAL: it does not lie below the trusted folder. An expected identity with
  // device or type 0 leaves that part unchecked.
  std::error_code error;
  bool wasGone = false;    // nothing was there to remove
  std::int64_t freed = 0;  // bytes given back, also when it stopped part way
};

// Removes `path` (a file, a link or a whole folder tree), which must lie below the trusted
// folder `top`. Opens `top` once and reaches the item one piece at a time relative to
// descriptors, following no link and entering no other mount; checks, relative to the
// open parent, that the item is still `expected` (when given: the identity its listing
// saw) and not a mount point; then removes it through descriptors, never leaving its file
// system. Nothing outside `top` can be touched, however its folders are swapped meanwhile.
[[nodiscard]] AnchoredRemoval removeBeneath(const std::string& top, const std::string& path,
                                            const std::optional<FileIdentity>& expected = std::nullopt);

// Removes the file or link `path` below `top` as removeBeneath reaches it; a folder there
// is left alone (EISDIR).
[[nodiscard]] AnchoredRemoval removeFileBeneath(const std::string& top, const std::string& path);

// Clears the immutable and append-only flags of `path` below `top` and of every regular
// file and folder inside it, reached as removeBeneath reaches them (never a device node,
// never through a link, never on another mount). Best effort: what stays locked makes the
// removal that follows fail.
void clearProtectionFlagsBeneath(const std::string& top, const std::string& path);

}  // namespace tw
