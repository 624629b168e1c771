#pragma once

namespace tw {

// Sample-data mode (TIDEWARDEN_SNAPSHOT set): providers return demonstration data and
// nothing is recorded to the history, the scan cache or snapshots.
[[nodiscard]] bool sampleDataMode();

}  // namespace tw
