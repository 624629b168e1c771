#include "screens/docker_locations.h"

namespace tw {

const DockerLocations& platformDockerLocations() { return macOSDockerLocations(); }

}  // namespace tw
