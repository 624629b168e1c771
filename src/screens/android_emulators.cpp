// Android virtual devices live in the AVD folder as "<name>.ini" beside "<name>.avd";
// each device's config.ini names the system image it boots ("image.sysdir.1"). System
// images live in the SDK under system-images/<api>/<tag>/<abi>. An image no device uses
// is pre-selected, unless some device's settings could not be read.

#include <algorithm>
#include <map>

#include "core/format.h"
#include "core/measure.h"
#include "core/text.h"
#include "fs/file_io.h"
#include "fs/path.h"
#include "fs/regular_file.h"
#include "fs/usage.h"
#include "screens/dev_tool_actions.h"
#include "screens/simulator_parts.h"

namespace tw {
namespace {

constexpr std::size_t maxIniBytes = 256 * 1024;

using Ini = std::map<std::string, std::string>;

std::optional<Ini> readIni(const std::string& path) {
  const auto text = readRegularFile(path, maxIniBytes);
  if (!text) return std::nullopt;
  Ini values;
  for (const auto& line : splitLines(*text)) {
    const std::size_t equals = line.find('=');
    if (equals != std::string::npos) values[trimmed(line.substr(0, equals))] = trimmed(line.substr(equals + 1));
  }
  return values;
}

std::string valueOr(const Ini& ini, const std::string& key, const std::string& fallback) {
  const auto found = ini.find(key);
  return found != ini.end() && !found->second.empty() ? found->second : fallback;
}

struct Device {
  std::string name;    // as avdmanager knows it
  std::string ini;     // <name>.ini
  std::string folder;  // <name>.avd
  std::optional<Ini> config;
  std::vector<std::string> snapshots;
  std::vector<std::string> ownParts;  // what the device holds besides its snapshots, and its .ini
};

// The device folder the .ini names, when it is a ".avd" folder inside the home folder;
// otherwise the usual one beside the .ini. A planted path never leads elsewhere.
std::string deviceFolder(const std::string& avdHome, const std::string& name, const Ini& ini,
                         const DevToolsInput& input) {
  const std::string named = valueOr(ini, "path", "");
  if (named.starts_with(input.home() + "/") && named.ends_with(".avd") && named.find("/../") == std::string::npos &&
      isFolder(named)) {
    return named;
  }
  return joinPath(avdHome, name + ".avd");
}

std::vector<Device> findDevices(const std::string& avdHome, const DevToolsInput& input) {
  std::vector<Device> devices;
  for (const auto& entry : listFolder(avdHome).value_or(std::vector<FolderEntry>{})) {
    if (entry.isDir || pathExtension(entry.name) != "ini") continue;
    Device device;
    device.name = entry.name.substr(0, entry.name.size() - 4);
    device.ini = joinPath(avdHome, entry.name);
    device.folder = deviceFolder(avdHome, device.name, readIni(device.ini).value_or(Ini{}), input);
    if (!isFolder(device.folder)) continue;
    device.config = readIni(device.folder + "/config.ini");
    for (const auto& part : listFolder(device.folder).value_or(std::vector<FolderEntry>{})) {
      if (part.name != "snapshots") device.ownParts.push_back(joinPath(device.folder, part.name));
    }
    device.ownParts.push_back(device.ini);
    for (const auto& snapshot : listFolder(device.folder + "/snapshots").value_or(std::vector<FolderEntry>{})) {
      if (snapshot.isDir) device.snapshots.push_back(device.folder + "/snapshots/" + snapshot.name);
    }
    devices.push_back(std::move(device));
  }
  return devices;
}

std::string displayName(const Device& device) {
  return device.config ? valueOr(*device.config, "avd.ini.displayname", device.name) : device.name;
}

// "system-images/android-34/google_apis/x86_64/" -> the same without the slash, relative to the SDK.
std::optional<std::string> systemImageOf(const Device& device, const std::optional<std::string>& sdk) {
  if (!device.config) return std::nullopt;
  std::string image = valueOr(*device.config, "image.sysdir.1", "");
  while (image.ends_with('/')) image.pop_back();
  if (sdk && image.starts_with(*sdk + "/")) image.erase(0, sdk->size() + 1);
  return image;
}

// The SDK's own tools, looked for once: without them removal moves files to the Trash.
struct AndroidTools {
  AndroidTools(const DevToolTables& tables, const DevToolsInput& input, const std::optional<std::string>& sdk)
      : deleteDevice({sdk ? "avdmanager" : "", tables.simulators.androidTools, {}, {"delete", "avd", "-n", "{name}"}},
                     input, {{"root", sdk.value_or("")}}),
        uninstall({"sdkmanager", tables.simulators.androidTools, {}, {"--sdk_root={root}", "--uninstall", "{name}"}},
                  input, {{"root", sdk.value_or("")}}) {}

  PreparedCommand deleteDevice;
  PreparedCommand uninstall;
};

PendingItem deviceItem(const Device& device, const AndroidTools& tools, const DevToolsInput& input,
                       const std::optional<std::string>& sdk) {
  PendingItem pending;
  pending.paths = device.ownParts;
  DevItem& item = pending.item;
  item.id = device.folder;
  item.name = displayName(device);
  const std::string image = systemImageOf(device, sdk).value_or("");
  item.detail = "Virtual device " + device.name + (image.empty() ? "" : " \u00b7 " + image);
  if (const auto used = lastUsed(device.folder + "/userdata-qemu.img")) {
    item.detail += " \u00b7 last used " + ago(*used, input.now);
  }
  item.action = tools.deleteDevice.actionFor({{"name", device.name}}, {device.folder, device.ini});
  item.revealPath = device.folder;
  item.restoreHint = "Create it again in Android Studio's Device Manager";
  return pending;
}

PendingItem snapshotItem(const Device& device, const std::string& snapshot) {
  PendingItem pending;
  pending.paths = {snapshot};
  pending.item.id = snapshot;
  pending.item.name = displayName(device) + " \u00b7 snapshot " + lastPathComponent(snapshot);
  pending.item.detail = "Saved emulator state; the device boots without it";
  pending.item.action = DevAction::trash({snapshot});
  pending.item.revealPath = snapshot;
  pending.item.restoreHint = "Put it back from the Trash";
  return pending;
}

PendingGroup devicesGroup(const std::vector<Device>& devices, const std::string& avdHome, const AndroidTools& tools,
                          const DevToolsInput& input, const std::optional<std::string>& sdk,
                          const PathsInUse& running) {
  PendingGroup group{"android-avds", "Android virtual devices", tildePath(avdHome, input.home()), "iphone", {}, {}, {}};
  for (const auto& device : devices) {
    group.items.push_back(deviceItem(device, tools, input, sdk));
    for (const auto& snapshot : device.snapshots) group.items.push_back(snapshotItem(device, snapshot));
  }
  for (auto& pending : group.items) markInUse(pending, running);
  return group;
}

// system-images/<api>/<tag>/<abi>, relative to the SDK.
std::vector<std::string> systemImages(const std::string& sdk) {
  std::vector<std::string> images;
  const auto subfolders = [](const std::string& folder) {
    std::vector<std::string> names;
    for (const auto& entry : listFolder(folder).value_or(std::vector<FolderEntry>{})) {
      if (entry.isDir) names.push_back(entry.name);
    }
    return names;
  };
  for (const auto& api : subfolders(sdk + "/system-images")) {
    for (const auto& tag : subfolders(sdk + "/system-images/" + api)) {
      for (const auto& abi : subfolders(sdk + "/system-images/" + api + "/" + tag)) {
        images.push_back("system-images/" + api + "/" + tag + "/" + abi);
      }
    }
  }
  return images;
}

std::string packageName(std::string image) {
  std::replace(image.begin(), image.end(), '/', ';');
  return image;
}

PendingItem imageItem(const std::string& sdk, const std::string& image, const std::vector<std::string>& users,
                      bool trusted, const AndroidTools& tools) {
  PendingItem pending;
  const std::string path = joinPath(sdk, image);
  pending.paths = {path};
  DevItem& item = pending.item;
  item.id = path;
  for (const char c : image.substr(std::string_view("system-images/").size())) {
    item.name += c == '/' ? std::string(" \u00b7 ") : std::string(1, c);
  }
  std::string userList;
  for (const auto& user : users) userList += (userList.empty() ? "" : ", ") + user;
  item.detail = users.empty() ? "No virtual device uses it" : "Used by " + userList;
  if (!users.empty()) item.badges.push_back({"used by " + userList, Badge::Tone::info});
  item.selected = users.empty() && trusted;
  item.action = tools.uninstall.actionFor({{"root", sdk}, {"name", packageName(image)}}, {path});
  item.revealPath = path;
  item.restoreHint = "sdkmanager --install \"" + packageName(image) + "\"";
  return pending;
}

std::optional<PendingGroup> imagesGroup(const std::string& sdk, const std::vector<Device>& devices,
                                        const AndroidTools& tools, const DevToolsInput& input,
                                        const PathsInUse& running) {
  std::map<std::string, std::vector<std::string>> users;
  std::optional<std::string> unreadable;
  for (const auto& device : devices) {
    if (const auto image = systemImageOf(device, sdk)) {
      users[*image].push_back(displayName(device));
    } else if (!unreadable) {
      unreadable = device.name;
    }
  }
  PendingGroup group{"android-system-images",
                     "Android system images",
                     tildePath(sdk + "/system-images", input.home()),
                     "iphone",
                     {},
                     {},
                     {}};
  if (unreadable) {
    group.note = "Can't read the settings of " + *unreadable + ", so no system image is pre-selected.";
  }
  for (const auto& image : systemImages(sdk)) {
    auto pending = imageItem(sdk, image, users[image], !unreadable, tools);
    markInUse(pending, running);
    group.items.push_back(std::move(pending));
  }
  if (group.items.empty()) return std::nullopt;
  return group;
}

}  // namespace

std::vector<PendingGroup> androidEmulators(const DevToolTables& tables, const DevToolsInput& input,
                                           const PathsInUse& running) {
  std::vector<PendingGroup> groups;
  const auto sdk = input.locate(tables.androidSdk);
  const auto avdHome = input.locate(tables.simulators.avdHome);
  const auto devices = avdHome ? findDevices(*avdHome, input) : std::vector<Device>{};
  const AndroidTools tools(tables, input, sdk);
  if (!devices.empty()) groups.push_back(devicesGroup(devices, *avdHome, tools, input, sdk, running));
  if (sdk) {
    if (auto images = imagesGroup(*sdk, devices, tools, input, running)) groups.push_back(std::move(*images));
  }
  return groups;
}

}  // namespace tw
