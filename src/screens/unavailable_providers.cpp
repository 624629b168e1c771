#include "screens/providers.h"
#include "screens/registry.h"

namespace tw {
namespace {

ProviderResult unavailable() { return {{}, unavailableScreenNote}; }

}  // namespace

ProviderResult SmartCleanScreen::load() { return unavailable(); }
ProviderResult LargeFiles::load() { return unavailable(); }
ProviderResult Uninstaller::load() { return unavailable(); }
ProviderResult SystemData::load() { return unavailable(); }
ProviderResult DockerDeep::load() { return unavailable(); }
ProviderResult AIModels::scan(const std::string&, const std::map<std::string, std::string>&) { return unavailable(); }

}  // namespace tw
