#pragma once

#include <map>
#include <optional>
#include <stop_token>
#include <string>
#include <vector>

#include "core/context.h"
#include "core/date.h"
#include "core/dev_group.h"
#include "screens/docker_locations.h"
#include "screens/docker_usage.h"

namespace tw {

// The Docker screen: images, stopped containers, build cache and volumes of the container
// engines on this machine, read from their API over a Unix socket, and the virtual-machine
// disks of the desktop engines.
struct DockerDeep {
  // One engine, reached over its socket.
  struct Engine {
    enum class Kind { docker, podman };
    Kind kind = Kind::docker;
    std::string socket;

    [[nodiscard]] std::string name() const;        // "Docker", "Podman"
    [[nodiscard]] std::string identifier() const;  // "docker", "podman": prefixes group and item ids
    [[nodiscard]] std::string cliName() const;     // the engine's command-line tool
  };

  // What an engine holds.
  struct Snapshot {
    DockerUsage usage;
    std::map<std::string, Date> stoppedAt;  // container id -> when it stopped, where known
  };

  static constexpr double pingTimeout = 1;    // seconds: a live engine answers at once
  static constexpr double usageTimeout = 60;  // sizing every layer and volume takes a while
  static constexpr double inspectTimeout = 5;
  static constexpr double removalTimeout = 120;
  static constexpr auto staleAfter = std::chrono::hours(24 * 30);

  // Why an engine could not be read, as a sentence for the note.
  struct Failure {
    std::string sentence;
    bool notRunning = false;  // nothing listens: the note also says how to start it
  };

  // Reads an engine: nothing, with `failure` filled in, when it does not answer or its
  // answer cannot be read.
  [[nodiscard]] static std::optional<Snapshot> read(const Engine& engine, Failure& failure, std::stop_token stop = {});

  // The groups of one engine. Removal runs `cli` (its full path) against the engine's own
  // socket, or, without one, the engine's API.
  [[nodiscard]] static std::vector<DevGroupPtr> groups(const Engine& engine, const Snapshot& snapshot,
                                                       const std::optional<std::string>& cli, Date now);

  // The virtual-machine disk images that exist, as information (nothing to remove).
  [[nodiscard]] static DevGroupPtr vmDiskGroup(const DockerLocations& locations, const std::string& home,
                                               const Environment& env);

  // The engines named by the context's environment ($DOCKER_HOST, $XDG_RUNTIME_DIR) and
  // the table, with the command-line tools found by the context's search paths.
  [[nodiscard]] static ProviderResult scan(const DockerLocations& locations, const Context& context);
  [[nodiscard]] static ProviderResult load(const Context& context);
};

}  // namespace tw
