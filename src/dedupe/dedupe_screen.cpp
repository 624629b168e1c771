#include "dedupe/dedupe.h"
#include "screens/registry.h"

namespace tw {

// Placeholder until the duplicate finder lands.
ProviderResult Dedupe::load() { return {{}, unavailableScreenNote}; }

}  // namespace tw
