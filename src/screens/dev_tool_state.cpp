#include "screens/dev_tool_state.h"

#include <algorithm>

#include "core/format.h"
#include "core/text.h"
#include "fs/file_io.h"
#include "fs/path.h"
#include "fs/regular_file.h"

namespace tw {
namespace {

constexpr std::size_t maxVirtualenvConfigBytes = 64 * 1024;

std::string joined(const std::vector<std::string>& parts) {
  std::string text;
  for (const auto& part : parts) text += (text.empty() ? "" : " \u00b7 ") + part;
  return text;
}

std::string pinnedBy(const std::vector<ProjectPin>& pins) {
  std::string text;
  for (const auto& pin : pins) {
    const std::string entry = lastPathComponent(pin.project) + " (" + pin.file + ")";
    if (text.find(entry) == std::string::npos) text += (text.empty() ? "" : ", ") + entry;
  }
  return "Pinned by " + text;
}

std::string pinnedBadge(const std::vector<ProjectPin>& pins) {
  std::vector<std::string> projects;
  for (const auto& pin : pins) {
    const std::string name = lastPathComponent(pin.project);
    if (std::find(projects.begin(), projects.end(), name) == projects.end()) projects.push_back(name);
  }
  std::string text = "pinned by " + projects.front();
  if (projects.size() > 1) text += " +" + std::to_string(projects.size() - 1);
  return text;
}

void addAge(const VersionState& state, Date now, std::vector<std::string>& details, DevItem& item) {
  if (!state.lastUsed) {
    details.push_back("Last use unknown");
    return;
  }
  const bool idle = now - *state.lastUsed > unusedVersionAge;
  details.push_back("Last used " + ago(*state.lastUsed, now));
  item.badges.push_back({"used " + ago(*state.lastUsed, now), idle ? Badge::Tone::warn : Badge::Tone::info});
}

// The variable names a folder or a program inside one.
void addVariablePath(const DevToolsInput& input, const std::string& name, std::vector<std::string>& paths) {
  if (const auto value = input.variable(name); value && value->starts_with('/')) {
    paths.push_back(resolvedPath(*value).value_or(*value));
  }
}

// A virtualenv's interpreter lives in the version it was made from.
void addVirtualenvBase(const DevToolsInput& input, std::vector<std::string>& paths) {
  const auto venv = input.variable("VIRTUAL_ENV");
  if (!venv) return;
  const auto text = readRegularFile(*venv + "/pyvenv.cfg", maxVirtualenvConfigBytes);
  for (const auto& line : splitLines(text.value_or(""))) {
    const std::size_t equals = line.find('=');
    if (equals != std::string::npos && trimmed(line.substr(0, equals)) == "home") {
      const std::string home = trimmed(line.substr(equals + 1));
      if (home.starts_with('/')) paths.push_back(resolvedPath(home).value_or(home));
    }
  }
}

}  // namespace

void describeVersion(const VersionState& state, Date now, DevItem& item) {
  std::vector<std::string> details;
  if (state.isDefault) {
    details.push_back("Default version");
    item.badges.push_back({"default", Badge::Tone::ok});
    if (!item.warning)
      item.warning = "This is the default version; tools that rely on it stop working until you choose another.";
  }
  if (state.active) {
    details.push_back("Chosen by this shell");
    item.badges.push_back({"active", Badge::Tone::ok});
    if (!item.warning) item.warning = "Your shell uses this version right now.";
  }
  if (state.inUse) {
    details.push_back("A running program uses it");
    item.badges.push_back({"in use", Badge::Tone::warn});
    if (!item.warning) item.warning = "A running program uses this version.";
  }
  if (!state.pins.empty()) {
    details.push_back(pinnedBy(state.pins));
    item.badges.push_back({pinnedBadge(state.pins), Badge::Tone::info});
    if (!item.warning)
      item.warning = lastPathComponent(state.pins.front().project) + " asks for this version (" +
                     state.pins.front().file + "); it has to be installed again there.";
  }
  addAge(state, now, details, item);
  item.detail = joined(details);
}

void describeArchive(const VersionState& state, Date now, DevItem& item) {
  item.detail = state.lastUsed ? "Archived " + ago(*state.lastUsed, now) : "Xcode archive";
  item.warning =
      "An archive holds the debug symbols of a build you may have shipped; crash reports of that build "
      "need them.";
  item.restoreHint = "Put it back from the Trash";
}

std::string failClosedNote(const std::vector<std::string>& problems) {
  std::string note = "Nothing here is pre-selected: " + problems.front() + ".";
  if (problems.size() > 1) note += " (" + std::to_string(problems.size() - 1) + " more like it)";
  return note;
}

PathsInUse shellPaths(const DevToolsInput& input) {
  std::vector<std::string> paths;
  const std::string path = input.variable("PATH").value_or("");
  for (std::size_t start = 0; start < path.size();) {
    const std::size_t end = std::min(path.find(':', start), path.size());
    const std::string entry = path.substr(start, end - start);
    if (entry.starts_with('/')) paths.push_back(resolvedPath(entry).value_or(entry));
    start = end + 1;
  }
  for (const char* name :
       {"JAVA_HOME", "GOROOT", "ANDROID_NDK_HOME", "ANDROID_NDK_ROOT", "ANDROID_NDK", "FLUTTER_ROOT", "NVM_BIN"}) {
    addVariablePath(input, name, paths);
  }
  addVirtualenvBase(input, paths);
  return PathsInUse(std::move(paths));
}

}  // namespace tw
