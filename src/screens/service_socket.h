#pragma once

#include <string>

namespace tw {

// Whether a service accepts connections on its stream socket right now. Connecting to a
// local socket never waits: a service that is down refuses at once or has no socket.
[[nodiscard]] bool serviceListening(const std::string& socketPath);

}  // namespace tw
