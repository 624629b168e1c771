#pragma once

// What keeps a tool version from being removed, and how a version item says so. Shared
// by the Toolchains screen's managers.

#include <chrono>
#include <optional>
#include <string>
#include <vector>

#include "core/date.h"
#include "core/dev_item.h"
#include "screens/dev_tools_input.h"
#include "screens/paths_in_use.h"
#include "screens/project_pins.h"

namespace tw {

// A version that has not run for longer than this is offered pre-selected.
inline constexpr std::chrono::seconds unusedVersionAge{7'776'000};  // 90 days

struct VersionState {
  bool isDefault = false;
  bool active = false;  // this shell's PATH or a variable such as JAVA_HOME chooses it
  bool inUse = false;   // a running program uses it
  std::vector<ProjectPin> pins;
  std::optional<Date> lastUsed;
  bool understood = true;  // every default and pin of its manager could be read

  [[nodiscard]] bool relied() const { return isDefault || active || inUse || !pins.empty(); }
  // Pre-selected: nothing relies on it, it is known to have been idle for 90 days, and
  // nothing about its manager was left unread.
  [[nodiscard]] bool preselected(Date now) const {
    return understood && !relied() && lastUsed && now - *lastUsed > unusedVersionAge;
  }
};

// Fills in the item's detail line, badges and warning from its state.
void describeVersion(const VersionState& state, Date now, DevItem& item);
void describeArchive(const VersionState& state, Date now, DevItem& item);

// The group note that says why nothing of a manager is pre-selected.
[[nodiscard]] std::string failClosedNote(const std::vector<std::string>& problems);

// The folders this shell uses: every PATH entry and the variables that name a tool's home
// (JAVA_HOME, GOROOT, ANDROID_NDK_HOME, FLUTTER_ROOT, NVM_BIN, the virtualenv's base).
[[nodiscard]] PathsInUse shellPaths(const DevToolsInput& input);

}  // namespace tw
