#pragma once

#include <string>
#include <system_error>

#include "core/context.h"

namespace tw {

// Moves a file or folder to `to`, which must not exist yet (EEXIST otherwise; nothing is
// ever replaced). A move to another file system copies and then removes the original.
[[nodiscard]] std::error_code moveWithoutReplacing(const std::string& from, const std::string& to,
                                                   const Context& context);

}  // namespace tw
