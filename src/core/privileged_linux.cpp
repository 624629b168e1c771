#include "core/privileged.h"
#include "core/shell.h"
#include "core/text.h"

namespace tw {
namespace {

// The password prompt may sit unanswered for a long while.
constexpr double adminTimeout = 1800;
// pkexec's own status when the user dismissed the prompt or was not allowed.
constexpr int pkexecNotAuthorized = 126;

}  // namespace

AdminResult runAsAdministrator(const std::string& command, const Context& context) {
  const auto pkexec = Shell::which("pkexec", context);
  if (!pkexec) return {AdminResult::Status::unavailable, ""};
  const auto result = Shell::run(*pkexec, {"/bin/sh", "-c", command}, adminTimeout, context);
  if (result.code == 0) return {};
  std::string message = trimmed(result.err);
  if (result.code == pkexecNotAuthorized || message.empty()) return {AdminResult::Status::cancelled, ""};
  return {AdminResult::Status::failed, std::move(message)};
}

}  // namespace tw
