#include "screens/projects.h"
#include "screens/registry.h"

namespace tw {

// Placeholder until this screen's scanner lands.
ProviderResult Projects::load() { return {{}, unavailableScreenNote}; }

}  // namespace tw
