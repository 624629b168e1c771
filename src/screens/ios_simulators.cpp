// iOS, watchOS, tvOS and visionOS simulators as `xcrun simctl` lists them. A device whose
// runtime is gone (unavailable) or older than the newest runtime of its platform is
// pre-selected unless it is booted; runtimes are offered but never pre-selected.
// Everything is removed through simctl, which keeps CoreSimulator's records straight.

#include <algorithm>
#include <map>

#include <nlohmann/json.hpp>

#include "core/shell.h"
#include "core/text.h"
#include "fs/path.h"
#include "screens/simulator_parts.h"
#include "screens/version_text.h"

namespace tw {
namespace {

constexpr double simctlTimeout = 60;

struct Runtime {
  std::string platform;  // "iOS"
  std::string version;   // "17.2"
};

// "com.apple.CoreSimulator.SimRuntime.iOS-17-2" -> iOS 17.2.
Runtime runtimeOf(const std::string& identifier) {
  std::string tail = identifier.substr(identifier.rfind('.') + 1);
  const std::size_t dash = tail.find('-');
  if (dash == std::string::npos) return {tail, ""};
  std::string version = tail.substr(dash + 1);
  std::replace(version.begin(), version.end(), '-', '.');
  return {tail.substr(0, dash), version};
}

std::optional<nlohmann::json> simctlJSON(const std::string& xcrun, const std::vector<std::string>& arguments,
                                         const Context& context) {
  const auto result = Shell::run(xcrun, arguments, simctlTimeout, context);
  if (result.code != 0) return std::nullopt;
  auto json = nlohmann::json::parse(result.out, nullptr, false);
  if (json.is_discarded() || !json.is_object()) return std::nullopt;
  return json;
}

std::string text(const nlohmann::json& object, const char* key) {
  return object.contains(key) && object[key].is_string() ? object[key].get<std::string>() : std::string();
}

using Newest = std::map<std::string, std::string>;  // platform -> newest version seen

void noteVersion(Newest& newest, const Runtime& runtime) {
  auto& best = newest[runtime.platform];
  if (best.empty() || compareVersions(runtime.version, best) > 0) best = runtime.version;
}

PendingItem deviceItem(const std::string& xcrun, const nlohmann::json& device, const Runtime& runtime,
                       const Newest& newest) {
  PendingItem pending;
  const std::string udid = text(device, "udid");
  const std::string data = text(device, "dataPath");
  if (!data.empty()) pending.paths = {parentPath(data)};
  DevItem& item = pending.item;
  item.id = udid;
  item.name = text(device, "name") + " \u00b7 " + runtime.platform + " " + runtime.version;
  const bool available = device.value("isAvailable", true);
  const std::string& latest = newest.at(runtime.platform);
  const bool old = compareVersions(runtime.version, latest) < 0;
  const bool booted = text(device, "state") == "Booted";
  if (!available) {
    item.detail = "Unavailable: " + (text(device, "availabilityError").empty() ? std::string("its runtime is gone")
                                                                               : text(device, "availabilityError"));
    item.badges.push_back({"unavailable", Badge::Tone::warn});
  } else {
    item.detail = old ? "Runs " + runtime.platform + " " + runtime.version + "; the newest runtime is " + latest
                      : runtime.platform + " " + runtime.version;
    if (old) item.badges.push_back({"old runtime", Badge::Tone::warn});
  }
  if (booted) item.badges.push_back({"booted", Badge::Tone::ok});
  item.selected = (!available || old) && !booted;
  item.action = DevAction::commands({{xcrun, "simctl", "delete", udid}});
  if (!pending.paths.empty()) item.revealPath = pending.paths.front();
  item.restoreHint = "Create it again in Xcode's Devices and Simulators window";
  return pending;
}

PendingItem runtimeItem(const std::string& xcrun, const nlohmann::json& image, const Runtime& runtime,
                        std::size_t devices) {
  PendingItem pending;
  DevItem& item = pending.item;
  item.id = text(image, "identifier");
  item.name = runtime.platform + " " + runtime.version + " runtime";
  item.detail = devices == 0 ? "No simulator uses it"
                             : std::to_string(devices) + (devices == 1 ? " simulator uses it" : " simulators use it");
  const auto bytes = image.value("sizeBytes", nlohmann::json());
  if (bytes.is_number_integer()) item.size = item.freeable = bytes.get<std::int64_t>();
  item.action = DevAction::commands({{xcrun, "simctl", "runtime", "delete", item.id}});
  item.restoreHint = "Download it again in Xcode \u25b8 Settings \u25b8 Platforms";
  return pending;
}

}  // namespace

IOSSimulatorFindings iosSimulators(const DevToolsInput& input) {
  const auto xcrun = input.tool("xcrun", {});
  if (!xcrun) return {{}, "Xcode isn't installed, so there are no iOS simulators to list."};
  const auto listed = simctlJSON(*xcrun, {"simctl", "list", "devices", "--json"}, input.context);
  if (!listed) return {{}, "xcrun simctl couldn't list the simulators."};
  const auto images =
      simctlJSON(*xcrun, {"simctl", "runtime", "list", "-j"}, input.context).value_or(nlohmann::json::object());

  Newest newest;
  const auto& byRuntime = listed->value("devices", nlohmann::json::object());
  for (const auto& [identifier, devices] : byRuntime.items()) noteVersion(newest, runtimeOf(identifier));
  for (const auto& [key, image] : images.items()) noteVersion(newest, runtimeOf(text(image, "runtimeIdentifier")));

  PendingGroup devicesGroup{
      "ios-simulators", "iOS simulators", "~/Library/Developer/CoreSimulator/Devices", "iphone", {}, {}, {}};
  std::map<std::string, std::size_t> usersOf;
  for (const auto& [identifier, devices] : byRuntime.items()) {
    if (!devices.is_array()) continue;
    for (const auto& device : devices) {
      if (!device.is_object()) continue;
      devicesGroup.items.push_back(deviceItem(*xcrun, device, runtimeOf(identifier), newest));
      ++usersOf[identifier];
    }
  }
  PendingGroup runtimesGroup{"ios-runtimes", "Simulator runtimes", "Managed by Xcode", "iphone", {}, {}, {}};
  for (const auto& [key, image] : images.items()) {
    if (!image.is_object() || !image.value("deletable", false)) continue;
    const std::string identifier = text(image, "runtimeIdentifier");
    runtimesGroup.items.push_back(runtimeItem(*xcrun, image, runtimeOf(identifier), usersOf[identifier]));
  }
  IOSSimulatorFindings findings;
  for (auto* group : {&devicesGroup, &runtimesGroup}) {
    if (!group->items.empty()) findings.groups.push_back(std::move(*group));
  }
  return findings;
}

}  // namespace tw
