#include "screens/desktop_entry.h"

#include "core/text.h"
#include "fs/regular_file.h"

namespace tw {
namespace {

constexpr std::size_t desktopFileLimit = 256 * 1024;

}  // namespace

std::optional<DesktopEntry> readDesktopEntry(const std::string& path) {
  const auto text = readRegularFile(path, desktopFileLimit);
  if (!text) return std::nullopt;
  DesktopEntry entry;
  bool inGroup = false;
  bool found = false;
  for (const auto& rawLine : splitLines(*text)) {
    const std::string line = trimmed(rawLine);
    if (line.starts_with('[')) {
      inGroup = line == "[Desktop Entry]";
      found = found || inGroup;
      continue;
    }
    if (!inGroup || line.starts_with('#')) continue;
    const std::size_t equals = line.find('=');
    if (equals == std::string::npos) continue;
    const std::string key = trimmed(line.substr(0, equals));
    const std::string value = trimmed(line.substr(equals + 1));
    if (key == "Name")
      entry.name = value;
    else if (key == "Exec")
      entry.exec = value;
    else if (key == "TryExec")
      entry.tryExec = value;
    else if (key == "Type")
      entry.application = value == "Application";
    else if ((key == "NoDisplay" || key == "Hidden") && value == "true")
      entry.hidden = true;
  }
  if (!found) return std::nullopt;
  return entry;
}

}  // namespace tw
