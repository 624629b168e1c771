#pragma once

#include <string>
#include <vector>

namespace tw {

// Where container engines and their virtual-machine disks live, as data: one table per
// platform. Paths use the location patterns of location_path.h ("~/...", "$NAME/...").
struct DockerLocations {
  // A virtual machine's disk image that grows as the engine stores data and never
  // shrinks on its own.
  struct VMDisk {
    std::string product;             // "Docker Desktop", "Colima", "OrbStack"
    std::vector<std::string> paths;  // every one that exists is shown
    std::string compactHint;         // how to give the space back
  };

  std::string name;                        // "linux" or "macos"
  std::vector<std::string> dockerSockets;  // tried in order when $DOCKER_HOST names none
  std::vector<std::string> podmanSockets;  // each that exists is read as its own engine
  std::vector<VMDisk> vmDisks;
  std::string startHint;  // how to start Docker, for the note when nothing answers
};

[[nodiscard]] const DockerLocations& linuxDockerLocations();
[[nodiscard]] const DockerLocations& macOSDockerLocations();
// The running platform's table.
[[nodiscard]] const DockerLocations& platformDockerLocations();

}  // namespace tw
