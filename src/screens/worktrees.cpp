#include "screens/worktrees.h"
#include "screens/registry.h"

namespace tw {

// Placeholder until this screen's scanner lands.
ProviderResult Worktrees::load() { return {{}, unavailableScreenNote}; }

}  // namespace tw
