#pragma once

#include "core/context.h"

// The window lives in a module of its own, loaded only for a bare start: the UI toolkit
// brings some fifty libraries whose loading would otherwise cost every command. The module
// and the program are built together from the same sources, so they share Context's layout.
extern "C" {
using TidewardenOpenWindow = int (*)(int* argc, char** argv, const tw::Context* context);
int tidewarden_open_window(int* argc, char** argv, const tw::Context* context);
}

namespace tw {

// The name the module exports its entry under.
inline constexpr const char* windowModuleEntry = "tidewarden_open_window";

}  // namespace tw
