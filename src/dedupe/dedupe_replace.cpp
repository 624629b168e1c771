#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <mutex>

#include "dedupe/block_sharing.h"
#include "dedupe/dedupe.h"
#include "dedupe/file_state.h"
#include "dedupe/parallel.h"
#include "fs/file_flags.h"
#include "fs/path.h"
#include "fs/unique_fd.h"

namespace tw {
namespace {

// Immutable, append-only, compressed or system-owned files are not ours to change.
bool protectedFromChanges(const std::string& path) {
  UniqueFd fd{::open(path.c_str(), O_RDONLY | O_NOFOLLOW | O_CLOEXEC | O_NONBLOCK)};
  if (!fd) return false;  // unreadable: the checks after this one say why
  const auto flags = readFileFlags(fd.get());
  return flags && flags->protectedFromChanges();
}

std::string joined(const std::vector<std::string>& messages, std::size_t count) {
  std::string text;
  for (std::size_t i = 0; i < std::min(count, messages.size()); ++i) {
    if (i > 0) text += "; ";
    text += messages[i];
  }
  return text;
}

std::optional<std::string> reason(const ShareOutcome& outcome) {
  using Status = ShareOutcome::Status;
  std::string text;
  switch (outcome.status) {
    case Status::shared:
      return std::nullopt;
    case Status::noLongerIdentical:
      text = "no longer identical";
      break;
    case Status::unsupported:
      text = "volume doesn't support clones";
      break;
    case Status::failed:
      text = "clone failed (" + outcome.error.message() + ")";
      break;
    case Status::keepChanged:
      text = "kept file changed; rescan";
      break;
    case Status::changedWhileSharing:
      text = "changed while sharing; skipped";
      break;
    case Status::prepareFailed:
      text = "couldn't prepare clone";
      break;
    case Status::resetAttributesFailed:
      text = "couldn't reset extended attributes";
      break;
    case Status::readAttributesFailed:
      text = "couldn't read extended attributes";
      break;
    case Status::copyAttributesFailed:
      text = "couldn't copy extended attributes";
      break;
    case Status::readACLFailed:
      text = "couldn't read permissions (ACL)";
      break;
    case Status::copyOwnerFailed:
      text = "couldn't copy owner or permissions";
      break;
    case Status::copyFlagsFailed:
      text = "couldn't copy file flags";
      break;
    case Status::restoreDatesFailed:
      text = "couldn't restore dates";
      break;
    case Status::copyACLFailed:
      text = "couldn't copy permissions (ACL)";
      break;
    case Status::metadataDiffers:
      text = "couldn't preserve permissions or dates";
      break;
    case Status::attributesDiffer:
      text = "couldn't preserve extended attributes";
      break;
    case Status::aclDiffers:
      text = "couldn't preserve permissions (ACL)";
      break;
    case Status::renameProtected:
      text = "protected from changes";
      break;
    case Status::renameFailed:
      text = "couldn't replace (" + outcome.error.message() + ")";
      break;
  }
  if (outcome.partlyShared) text += "; partly shared";
  return text;
}

}  // namespace

std::optional<std::string> Dedupe::replace(const std::string& copy, const std::string& keep, const FileState& keepState,
                                           const std::unordered_set<FileIdentity>& openFiles) {
  const auto state = linkState(copy);
  if (!state) return "missing";
  if (!state->isRegular()) return "not a regular file";
  if (state->links != 1) return "hard-linked";
  if (protectedFromChanges(copy)) return "locked or protected";
  if (state->dev != keepState.dev) return "on a different volume";
  if (state->ino == keepState.ino) return "same file";
  if (state->size != keepState.size) return "no longer identical";
  if (state->owner != effectiveUser()) return "owned by another user";
  if (openFiles.contains({state->dev, state->ino, state->mode & S_IFMT})) return "open in another app";
  return reason(shareWithKept(keep, keepState, copy, *state));
}

namespace {

std::optional<std::string> shareCopies(const std::string& keep, const std::vector<std::string>& copies,
                                       const std::unordered_set<FileIdentity>& openFiles) {
  const auto keepState = linkState(keep);
  if (!keepState || !keepState->isRegular() || protectedFromChanges(keep)) {
    return lastPathComponent(keep) + " is missing or changed; rescan";
  }
  std::vector<std::string> failures;
  for (const auto& copy : copies) {
    if (const auto why = Dedupe::replace(copy, keep, *keepState, openFiles))
      failures.push_back(lastPathComponent(copy) + ": " + *why);
  }
  if (failures.empty()) return std::nullopt;
  if (failures.size() == 1) return failures.front();
  return std::to_string(failures.size()) + " of " + std::to_string(copies.size()) +
         " copies skipped: " + joined(failures, 3);
}

}  // namespace

std::optional<std::string> Dedupe::cloneReplace(const std::string& keep, const std::vector<std::string>& copies) {
  // Item by item, as a screen's actions run: one look at the open files serves a second.
  return shareCopies(keep, copies, *OpenFiles::recent(1.0));
}

std::optional<std::string> Dedupe::cloneReplace(const std::vector<DupSet>& sets) {
  // One fresh look at the open files for the whole batch.
  const auto openFiles = OpenFiles::snapshot();
  const auto messages =
      dedupe::parallel<std::string>(sets.size(), [&](std::size_t i, auto) -> std::optional<std::string> {
        const DupSet& set = sets[i];
        if (set.paths.size() < 2) return std::nullopt;
        return shareCopies(set.paths.front(), std::vector<std::string>(set.paths.begin() + 1, set.paths.end()),
                           openFiles);
      });
  std::vector<std::string> failures;
  for (const auto& message : messages) {
    if (message) failures.push_back(*message);
  }
  if (failures.empty()) return std::nullopt;
  return std::to_string(failures.size()) + " of " + std::to_string(sets.size()) +
         " sets not fully shared: " + joined(failures, 2);
}

}  // namespace tw
