// Android virtual devices live in the AVD folder as "<name>.ini" beside "<name>.avd";
// each device's config.ini names the system image it boots ("image.sysdir.1"). System
// images live in the SDK under system-images/<api>/<tag>/<abi>. An image no device uses
// is pre-selected, unless some device's settings could not be read.

#include <algorithm>
#include <map>

#include "core/concurrent.h"
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
  std::optional<Date> lastUsed;       // of its data image
};

// The device folder the .ini names, when it is a ".avd" folder inside the home folder;
// otherwise the usual one beside the .ini, if it is there. A planted path never leads elsewhere.
std::optional<std::string> deviceFolder(const std::string& avdHome, const std::string& name, const Ini& ini,
                                        const DevToolsInput& input) {
  const std::string named = valueOr(ini, "path", "");
  if (named.starts_with(input.home() + "/") && named.ends_with(".avd") && named.find("/../") == std::string::npos &&
      isFolder(named)) {
    return named;
  }
  std::string usual = joinPath(avdHome, name + ".avd");
  if (!isFolder(usual)) return std::nullopt;
  return usual;
}

std::optional<Device> readDevice(const std::string& avdHome, const std::string& iniName, const DevToolsInput& input) {
  Device device;
  device.name = iniName.substr(0, iniName.size() - 4);
  device.ini = joinPath(avdHome, iniName);
  const auto folder = deviceFolder(avdHome, device.name, readIni(device.ini).value_or(Ini{}), input);
  if (!folder) return std::nullopt;
  device.folder = *folder;
  device.config = readIni(device.folder + "/config.ini");
  for (const auto& part : listFolderNames(device.folder).value_or(std::vector<NamedFolderEntry>{})) {
    if (part.name != "snapshots") device.ownParts.push_back(joinPath(device.folder, part.name));
  }
  device.ownParts.push_back(device.ini);
  for (const auto& snapshot : subfolderNames(device.folder + "/snapshots")) {
    device.snapshots.push_back(device.folder + "/snapshots/" + snapshot);
  }
  device.lastUsed = lastUsed(device.folder + "/userdata-qemu.img");
  return device;
}

// Each device is read on its own, so many devices are read side by side.
std::vector<Device> findDevices(const std::string& avdHome, const DevToolsInput& input) {
  std::vector<std::string> inis;
  for (auto& entry : listFolderNames(avdHome).value_or(std::vector<NamedFolderEntry>{})) {
    if (!entry.isDir && pathExtension(entry.name) == "ini") inis.push_back(std::move(entry.name));
  }
  std::vector<std::optional<Device>> read(inis.size());  // each slot written by one call only
  concurrentPerform(
      inis.size(), [&](std::size_t index) { read[index] = readDevice(avdHome, inis[index], input); },
      input.context.stop);
  std::vector<Device> devices;
  for (auto& device : read) {
    if (device) devices.push_back(std::move(*device));
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
  pending.removes = {device.folder, device.ini};
  DevItem& item = pending.item;
  item.id = device.folder;
  item.name = displayName(device);
  const std::string image = systemImageOf(device, sdk).value_or("");
  item.detail = "Virtual device " + device.name + (image.empty() ? "" : " \u00b7 " + image);
  if (device.lastUsed) item.detail += " \u00b7 last used " + ago(*device.lastUsed, input.now);
  item.action = tools.deleteDevice.actionFor({{"name", device.name}}, pending.removes);
  item.revealPath = device.folder;
  item.restoreHint = "Create it again in Android Studio's Device Manager";
  return pending;
}

PendingItem snapshotItem(const Device& device, const std::string& snapshot) {
  PendingItem pending;
  pending.paths = {snapshot};
  pending.listedFolders = true;
  pending.item.id = snapshot;
  pending.item.name = displayName(device) + " \u00b7 snapshot " + lastPathComponent(snapshot);
  pending.item.detail = "Saved emulator state; the device boots without it";
  pending.item.action = DevAction::trash({snapshot});
  pending.item.revealPath = snapshot;
  pending.item.restoreHint = "Put it back from the Trash";
  return pending;
}

PendingGroup devicesGroup(const std::vector<Device>& devices, const std::string& avdHome, const AndroidTools& tools,
                          const DevToolsInput& input, const std::optional<std::string>& sdk) {
  PendingGroup group{"android-avds", "Android virtual devices", tildePath(avdHome, input.home()), "iphone", {}, {}, {}};
  for (const auto& device : devices) {
    group.items.push_back(deviceItem(device, tools, input, sdk));
    for (const auto& snapshot : device.snapshots) group.items.push_back(snapshotItem(device, snapshot));
  }
  return group;
}

// system-images/<api>/<tag>/<abi>, relative to the SDK.
std::vector<std::string> systemImages(const std::string& sdk) {
  std::vector<std::string> images;
  for (const auto& api : subfolderNames(sdk + "/system-images")) {
    for (const auto& tag : subfolderNames(sdk + "/system-images/" + api)) {
      for (const auto& abi : subfolderNames(sdk + "/system-images/" + api + "/" + tag)) {
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
  pending.listedFolders = true;
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
                                        const AndroidTools& tools, const DevToolsInput& input) {
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
    group.items.push_back(imageItem(sdk, image, users[image], !unreadable, tools));
  }
  if (group.items.empty()) return std::nullopt;
  return group;
}

}  // namespace

std::vector<PendingGroup> androidEmulators(const DevToolTables& tables, const DevToolsInput& input) {
  std::vector<PendingGroup> groups;
  const auto sdk = input.locate(tables.androidSdk);
  const auto avdHome = input.locate(tables.simulators.avdHome);
  const auto devices = avdHome ? findDevices(*avdHome, input) : std::vector<Device>{};
  const AndroidTools tools(tables, input, sdk);
  if (!devices.empty()) groups.push_back(devicesGroup(devices, *avdHome, tools, input, sdk));
  if (sdk) {
    if (auto images = imagesGroup(*sdk, devices, tools, input)) groups.push_back(std::move(*images));
  }
  return groups;
}

}  // namespace tw
