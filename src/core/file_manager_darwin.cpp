#include "core/apple_script.h"
#include "core/file_manager.h"

namespace tw {

std::error_code trashWithFileManager(const std::string& path, const Context& context) {
  const std::string script =
      "tell application \"Finder\" to delete (POSIX file \"" + appleScriptEscaped(path) + "\" as alias)";
  if (const auto error = runAppleScript(script, context)) {
    return std::make_error_code(error->status == AppleScriptError::Status::cancelled ? std::errc::operation_canceled
                                                                                     : std::errc::io_error);
  }
  return {};
}

}  // namespace tw
