#include <cstdio>

#include "cli/window.h"

namespace tw {

int openWindow(int&, char**, const Context&) {
  std::fputs("tidewarden: the windowed app is not in this build; run 'tidewarden help' for the commands\n", stderr);
  return 1;
}

}  // namespace tw
