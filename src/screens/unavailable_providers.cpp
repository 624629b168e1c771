#include "screens/providers.h"
#include "screens/registry.h"

namespace tw {
namespace {

ProviderResult unavailable() { return {{}, unavailableScreenNote}; }

}  // namespace

ProviderResult SmartCleanScreen::load() { return unavailable(); }
ProviderResult Simulators::load() { return unavailable(); }
ProviderResult Toolchains::load() { return unavailable(); }
ProviderResult IDELeftovers::load() { return unavailable(); }

}  // namespace tw
