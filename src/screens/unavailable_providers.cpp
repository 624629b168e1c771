#include "screens/providers.h"
#include "screens/registry.h"

namespace tw {
namespace {

ProviderResult unavailable() { return {{}, unavailableScreenNote}; }

}  // namespace

ProviderResult SmartCleanScreen::load() { return unavailable(); }

}  // namespace tw
