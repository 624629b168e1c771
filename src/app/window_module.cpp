// The entry the program looks up after loading the window's module (see cli/window.h).

#include "cli/window_module.h"
#include "cli/window.h"

extern "C" __attribute__((visibility("default"))) int tidewarden_open_window(int* argc, char** argv,
                                                                             const tw::Context* context) {
  return tw::openWindow(*argc, argv, *context);
}
