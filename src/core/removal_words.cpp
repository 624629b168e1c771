#include "core/removal_words.h"

#include <cerrno>

#include "core/format.h"

namespace tw {
namespace {

std::string whyItStopped(const std::error_code& error) {
  if (error.category() == std::generic_category()) {
    switch (error.value()) {
      case ELOOP:
        return "a folder on its way was swapped for a link, so it was left alone";
      case EBUSY:
        return "it is a mount point; unmount it first";
      case EXDEV:
        return "a mount point inside it was left alone";
      case ESTALE:
        return "it changed since it was listed, so it was left alone";
      case EINVAL:
        return "it is not inside the folder it was listed in";
      default:
        break;
    }
  }
  return error.message();
}

bool lacksRights(const std::error_code& error) {
  return error == std::errc::permission_denied || error == std::errc::operation_not_permitted;
}

}  // namespace

ActionOutcome outcomeOfRemoval(const std::string& name, const AnchoredRemoval& removal, std::int64_t freeable) {
  if (!removal.error) {
    if (removal.wasGone) return ActionOutcome::gone();
    return ActionOutcome::success(freeable >= 0 ? freeable : removal.freed);
  }
  std::string reason = "Couldn't delete " + name + ": " + whyItStopped(removal.error);
  if (removal.freed > 0) reason += " (" + byteFormatter(removal.freed) + " freed before it stopped)";
  return lacksRights(removal.error) ? ActionOutcome::needsRights(std::move(reason), removal.freed)
                                    : ActionOutcome::partial(std::move(reason), removal.freed);
}

}  // namespace tw
