#pragma once

#include <dlfcn.h>

namespace tw {

// Points `function` at a symbol of a library opened with dlopen; false when it has none.
template <typename Function>
[[nodiscard]] bool resolveSymbol(void* library, const char* name, Function& function) {
  function = reinterpret_cast<Function>(::dlsym(library, name));
  return function != nullptr;
}

}  // namespace tw
