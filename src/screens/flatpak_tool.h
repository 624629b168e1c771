#pragma once

#include <optional>
#include <string>
#include <vector>

#include "core/context.h"

namespace tw {

// One installed Flatpak app as `flatpak list --app` reports it.
struct FlatpakApp {
  std::string id;
  std::string name;
  std::string version;
  std::string installation;  // "user", "system" or the name of another system installation
};

// Every installed app of every installation; nothing when the listing failed.
[[nodiscard]] std::optional<std::vector<FlatpakApp>> listFlatpakApps(const std::string& flatpak,
                                                                     const Context& context);

// The refs (ids, with the other words of their line) that `flatpak uninstall --unused`
// would remove from the user's or the system installation. Asked without a terminal,
// flatpak lists them and answers its own question with no, so nothing is removed.
struct FlatpakUnused {
  std::string id;
  std::vector<std::string> words;  // branch, arch and operation, as flatpak prints them
  friend bool operator==(const FlatpakUnused&, const FlatpakUnused&) = default;
};
[[nodiscard]] std::optional<std::vector<FlatpakUnused>> listUnusedFlatpakRefs(const std::string& flatpak, bool system,
                                                                              const Context& context);

// The arguments that name an installation: "--user", "--system" or "--installation=NAME".
[[nodiscard]] std::string flatpakInstallationOption(const std::string& installation);

}  // namespace tw
