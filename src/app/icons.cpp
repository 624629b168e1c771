#include "app/icons.h"

#include <array>
#include <string_view>

namespace tw::app {
namespace {

struct SymbolIcon {
  std::string_view symbol;
  const char* themeName;
  const char* bundled;
};

// Theme names from the freedesktop icon naming specification where one fits.
constexpr std::array symbolIcons{
    SymbolIcon{"square.grid.2x2", "view-grid", "overview"},
    SymbolIcon{"wind", "edit-clear-all", "clean"},
    SymbolIcon{"doc.badge.clock", "document-open-recent", "large"},
    SymbolIcon{"xmark.app", "edit-delete", "apps"},
    SymbolIcon{"internaldrive", "drive-harddisk", "system"},
    SymbolIcon{"chart.pie", "utilities-system-monitor", "lens"},
    SymbolIcon{"trash", "user-trash", "trash"},
    SymbolIcon{"folder.badge.gearshape", "folder", "projects"},
    SymbolIcon{"arrow.triangle.branch", "vcs-branch", "worktrees"},
    SymbolIcon{"iphone", "phone", "simulators"},
    SymbolIcon{"wrench.and.screwdriver", "applications-engineering", "toolchains"},
    SymbolIcon{"chevron.left.forwardslash.chevron.right", "applications-development", "ide"},
    SymbolIcon{"shippingbox", "package-x-generic", "docker"},
    SymbolIcon{"externaldrive.badge.timemachine", "folder-remote", "git"},
    SymbolIcon{"brain", "applications-science", "ai"},
    SymbolIcon{"square.on.square", "edit-copy", "dedupe"},
    SymbolIcon{"clock.arrow.circlepath", "document-open-recent", "history"},
    SymbolIcon{"exclamationmark.triangle", "dialog-warning", "warning"},
};

QString bundledPath(const char* name) { return QStringLiteral(":/icons/%1.svg").arg(QLatin1String(name)); }

}  // namespace

QIcon symbolIcon(const std::string& symbolName) {
  for (const auto& entry : symbolIcons) {
    if (entry.symbol == symbolName) {
      return QIcon::fromTheme(QLatin1String(entry.themeName), QIcon(bundledPath(entry.bundled)));
    }
  }
  // A symbol this table does not know (a provider's group icon) gets the plain folder.
  return QIcon::fromTheme(QStringLiteral("folder"), QIcon(bundledPath("folder")));
}

}  // namespace tw::app
