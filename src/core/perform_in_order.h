#pragma once

#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "core/dev_item.h"

namespace tw {

// Performs the actions of one run one after another, in order (password prompts, Trash
// moves and tool commands never run side by side), except that every administrator
// command among them runs in one privileged call when the first of them is reached, so
// the run asks for the password once. One error slot per action, in order. `finished`
// hears the running count of finished actions, from the calling thread.
[[nodiscard]] std::vector<std::optional<std::string>> performInOrder(
    const std::vector<DevAction>& actions, const std::function<void(std::size_t)>& finished = nullptr);

}  // namespace tw
