#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace tw {

// How carrying out one action (removing an item, running its tool) ended. A typed result,
// so that callers decide by the status and show `reason` only to the user.
struct ActionOutcome {
  enum class Status {
    done,
    alreadyGone,         // nothing was there any more: as good as done, but it freed nothing
    failed,              // `reason` says why, in the user's words
    needsAdministrator,  // refused for lack of rights; `reason` says what was refused
    cancelled,           // the user or the owner stopped it before it was done
  };

  Status status = Status::done;
  std::string reason;
  std::int64_t freed = 0;  // bytes given back, when known

  [[nodiscard]] static ActionOutcome success(std::int64_t freed = 0) { return {Status::done, "", freed}; }
  [[nodiscard]] static ActionOutcome gone() { return {Status::alreadyGone, "", 0}; }
  [[nodiscard]] static ActionOutcome failure(std::string reason) { return {Status::failed, std::move(reason), 0}; }
  [[nodiscard]] static ActionOutcome needsRights(std::string reason, std::int64_t freed = 0) {
    return {Status::needsAdministrator, std::move(reason), freed};
  }
  // Stopped part way: `freed` bytes are gone, `reason` says why the rest is not.
  [[nodiscard]] static ActionOutcome partial(std::string reason, std::int64_t freed) {
    return {Status::failed, std::move(reason), freed};
  }
  [[nodiscard]] static ActionOutcome cancellation(std::string reason = "Cancelled") {
    return {Status::cancelled, std::move(reason), 0};
  }

  [[nodiscard]] bool succeeded() const { return status == Status::done || status == Status::alreadyGone; }
  // What went wrong, for the user; nothing when it succeeded.
  [[nodiscard]] std::optional<std::string> error() const {
    return succeeded() ? std::nullopt : std::optional<std::string>(reason);
  }
};

}  // namespace tw
