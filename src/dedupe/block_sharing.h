#pragma once

#include <string>
#include <system_error>

#include "dedupe/file_state.h"

namespace tw {

// How making one copy share its data with the kept file ended.
struct ShareOutcome {
  enum class Status {
    shared,
    noLongerIdentical,
    unsupported,  // the volume can't share data between files
    failed,       // `error` says why
    keepChanged,
    changedWhileSharing,
    // Where the platform replaces the copy by a prepared clone instead of sharing in place.
    prepareFailed,
    resetAttributesFailed,
    readAttributesFailed,
    copyAttributesFailed,
    readACLFailed,
    copyOwnerFailed,
    copyFlagsFailed,
    restoreDatesFailed,
    copyACLFailed,
    metadataDiffers,
    attributesDiffer,
    aclDiffers,
    renameProtected,
    renameFailed,
  };

  Status status = Status::shared;
  std::error_code error;
  bool partlyShared = false;  // some of the copy's data already is shared when it stopped
};

// Makes `copy` share every data block with `keep`, leaving its path, inode, owner,
// permissions, dates, extended attributes and ACL as they are. The caller has checked
// both: regular single-link files on one volume, of one length, the copy ours and
// unprotected; `copyState` was taken just before. The bytes are compared under the file
// system's lock, so a copy that differs is never changed.
[[nodiscard]] ShareOutcome shareWithKept(const std::string& keep, const FileState& keepState, const std::string& copy,
                                         const FileState& copyState);

// Whether the volume holding this regular file can share data between files. Asks the
// file system itself and changes nothing.
[[nodiscard]] bool volumeCanShare(const std::string& path);

}  // namespace tw
