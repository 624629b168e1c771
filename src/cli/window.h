#pragma once

#include "core/context.h"

namespace tw {

// Opens the windowed app and runs it until the user quits; returns the exit status.
// Builds with the app link its implementation; builds without it link one that says so.
// `argc` and `argv` are the process's own: the UI toolkit reads its options from them.
[[nodiscard]] int openWindow(int& argc, char** argv, const Context& context);

}  // namespace tw
