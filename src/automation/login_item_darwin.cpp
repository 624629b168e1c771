#include <mach-o/dyld.h>

#include <vector>

#include "automation/login_item.h"
#include "core/apple_script.h"
#include "fs/file_io.h"

namespace tw {

std::optional<std::string> registerLoginItem(const Context& context, bool on, const std::string& program) {
  // The login item is the app bundle that holds the program.
  const auto bundleEnd = program.find(".app/");
  const std::string bundle = bundleEnd == std::string::npos ? program : program.substr(0, bundleEnd + 4);
  const std::string script =
      on ? "tell application \"System Events\" to make login item at end with properties {path:\"" +
               appleScriptEscaped(bundle) + "\", hidden:false}"
         : "tell application \"System Events\" to delete (every login item whose path is \"" +
               appleScriptEscaped(bundle) + "\")";
  if (const auto error = runAppleScript(script, context)) {
    return error->message.empty() ? std::string("the system refused it") : error->message;
  }
  return std::nullopt;
}

std::string currentProgramPath() {
  std::uint32_t size = 0;
  _NSGetExecutablePath(nullptr, &size);
  std::vector<char> buffer(size + 1, '\0');
  if (_NSGetExecutablePath(buffer.data(), &size) != 0) return {};
  return resolvedPath(buffer.data()).value_or(std::string(buffer.data()));
}

}  // namespace tw
