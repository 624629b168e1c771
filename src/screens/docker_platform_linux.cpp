#include "screens/docker_locations.h"

namespace tw {

const DockerLocations& platformDockerLocations() { return linuxDockerLocations(); }

}  // namespace tw
