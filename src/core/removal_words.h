#pragma once

#include <cstdint>
#include <string>

#include "core/action_outcome.h"
#include "fs/anchored_remove.h"

namespace tw {

// How removing `name` ended, for the removal service: done (freeing `freeable` when
// that was measured, else what the removal counted), already gone, or failed with the
// reason in the user's words and what was freed before it stopped.
[[nodiscard]] ActionOutcome outcomeOfRemoval(const std::string& name, const AnchoredRemoval& removal,
                                             std::int64_t freeable = -1);

}  // namespace tw
