#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "core/context.h"

namespace tw {

// The one place that starts external tools and finds them by name.
struct Shell {
  struct Result {
    // The exit status, or the number of the signal that ended the program (SIGTERM after
    // a timeout or a stop request); -1 when it could not be launched.
    std::int32_t code = 0;
    std::string out;
    std::string err;
  };

  // The fixed, ordered folders where tools are looked for, for this home folder.
  [[nodiscard]] static std::vector<std::string> searchPaths(const std::string& home);
  // Whether the platform's developer tools are installed (always false on Linux).
  [[nodiscard]] static bool hasDeveloperTools(const Context& context);

  // Runs `executable` (a full path, no lookup) with standard input from the null device,
  // both output streams drained concurrently, and SIGTERM once `timeout` seconds pass or
  // the context's stop token asks for it. The child's environment is the context's, with
  // PATH and GIT_TERMINAL_PROMPT set (see shell_environment.h). A launch failure gives
  // code -1 with the reason in `err`. Output is decoded as UTF-8 with invalid bytes
  // replaced. Blocks; never call it on the UI thread.
  [[nodiscard]] static Result run(const std::string& executable, const std::vector<std::string>& arguments,
                                  double timeout, const Context& context);

  // The first executable `name` in searchPaths(); the environment's PATH is not consulted.
  [[nodiscard]] static std::optional<std::string> which(const std::string& name, const Context& context);
};

}  // namespace tw
