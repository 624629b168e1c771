#include "core/history.h"

#include "core/app_paths.h"

namespace tw {

// Placeholder until the history log lands.
void History::record(const std::string&, const std::string&, std::int64_t, const std::optional<std::string>&) {}
std::vector<HistoryEntry> History::entries() { return {}; }
void History::clear() {}
std::string History::filePath() { return applicationSupportFolder() + "/history.json"; }

}  // namespace tw
