#include "screens/docker_locations.h"

namespace tw {
namespace {

const char* const colimaHint =
    "Remove what you no longer need here first, then run `colima ssh -- sudo fstrim -av` so the disk image "
    "gives the freed blocks back.";

}  // namespace

const DockerLocations& linuxDockerLocations() {
  static const DockerLocations table{
      "linux",
      {"/var/run/docker.sock", "$XDG_RUNTIME_DIR/docker.sock", "~/.docker/desktop/docker.sock"},
      {"$XDG_RUNTIME_DIR/podman/podman.sock"},
      {{"Docker Desktop",
        {"~/.docker/desktop/vms/0/data/Docker.raw"},
        "Remove what you no longer need here first; Docker Desktop then trims its disk image on its own. "
        "Troubleshoot \u203a Clean / Purge data shrinks it completely, deleting everything in it."},
       {"Colima", {"~/.colima/_lima/colima/diffdisk", "~/.colima/_lima/_disks/colima/datadisk"}, colimaHint}},
      "Start it with `sudo systemctl start docker` (or open Docker Desktop), then look again.",
  };
  return table;
}

const DockerLocations& macOSDockerLocations() {
  static const DockerLocations table{
      "macos",
      {"/var/run/docker.sock", "~/.docker/run/docker.sock", "~/.colima/default/docker.sock", "~/.colima/docker.sock",
       "~/.orbstack/run/docker.sock"},
      {},
      {{"Docker Desktop",
        {"~/Library/Containers/com.docker.docker/Data/vms/0/data/Docker.raw"},
        "Remove what you no longer need here first; Docker Desktop then trims its disk image on its own. "
        "Troubleshoot \u203a Clean / Purge data shrinks it completely, deleting everything in it."},
       {"Colima", {"~/.colima/_lima/colima/diffdisk", "~/.colima/_lima/_disks/colima/datadisk"}, colimaHint},
       {"OrbStack",
        {"~/Library/Group Containers/HUAQ24HBR6.dev.orbstack/data/data.img"},
        "OrbStack gives freed space back to macOS on its own, usually within minutes of removing data."}},
      "Open Docker Desktop, OrbStack or Colima (`colima start`), then look again.",
  };
  return table;
}

}  // namespace tw
