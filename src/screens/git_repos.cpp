#include "screens/git_repos.h"
#include "screens/registry.h"

namespace tw {

// Placeholder until this screen's scanner lands.
ProviderResult GitRepos::load() { return {{}, unavailableScreenNote}; }

}  // namespace tw
