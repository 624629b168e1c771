#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace tw {

// The one place that starts external tools and finds them by name.
struct Shell {
  struct Result {
    // The exit status, or the number of the signal that ended the program (SIGTERM after
    // a timeout); -1 when it could not be launched.
    std::int32_t code = 0;
    std::string out;
    std::string err;
  };

  // The fixed, ordered folders where tools are looked for.
  [[nodiscard]] static const std::vector<std::string>& searchPaths();
  // Whether the platform's developer tools are installed (always false on Linux).
  [[nodiscard]] static bool hasDeveloperTools();

  // Runs `executable` (a full path, no lookup) with standard input from the null device,
  // both output streams drained concurrently, and SIGTERM once `timeout` seconds pass.
  // A launch failure gives code -1 with the reason in `err`. Output is decoded as UTF-8
  // with invalid bytes replaced. Blocks; never call it on the UI thread.
  [[nodiscard]] static Result run(const std::string& executable, const std::vector<std::string>& arguments,
                                  double timeout);

  // The first executable `name` in searchPaths(); the environment's PATH is not consulted.
  [[nodiscard]] static std::optional<std::string> which(const std::string& name);
};

}  // namespace tw
