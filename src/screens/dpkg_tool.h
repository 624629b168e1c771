#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "core/context.h"

namespace tw {

// The packages that own each of these files (`dpkg -S`); files no package owns are left
// out. Nothing when dpkg could not be asked at all.
[[nodiscard]] std::optional<std::map<std::string, std::vector<std::string>>> packageOwners(
    const std::string& dpkg, const std::vector<std::string>& paths, const Context& context);

// One package as dpkg's database holds it.
struct PackageRecord {
  std::string name;    // with ":arch" where several architectures may be installed
  std::string status;  // dpkg's two-letter abbreviation: "ii" installed, "rc" removed with config files left
  std::string version;
  std::int64_t installedKiB = 0;
  bool essential = false;
  std::string priority;
  std::vector<std::string> conffiles;

  // Part of the base system: never offered for removal.
  [[nodiscard]] bool isBaseSystem() const;
};

// Every package dpkg knows (`dpkg-query -W`); nothing when the query failed.
[[nodiscard]] std::optional<std::vector<PackageRecord>> packageRecords(const std::string& dpkgQuery,
                                                                       const Context& context);

}  // namespace tw
