#include "screens/flatpak_tool.h"

#include "core/shell.h"
#include "core/text.h"
#include "screens/tool_output.h"

namespace tw {
namespace {

constexpr double flatpakTimeout = 60;

bool isListNumber(const std::string& word) {
  return word.size() >= 2 && word.back() == '.' && word.find_first_not_of("0123456789") == word.size() - 1;
}

}  // namespace

std::optional<std::vector<FlatpakApp>> listFlatpakApps(const std::string& flatpak, const Context& context) {
  const auto result = Shell::run(flatpak, {"list", "--app", "--columns=application,name,version,installation"},
                                 flatpakTimeout, context);
  if (result.code != 0) return std::nullopt;
  // Without a terminal flatpak separates the columns with tabs.
  std::vector<FlatpakApp> apps;
  for (const auto& line : splitLines(result.out)) {
    auto fields = tabFields(line);
    if (fields.size() < 4 || trimmed(fields[0]).empty()) continue;
    FlatpakApp app{trimmed(fields[0]), trimmed(fields[1]), trimmed(fields[2]), trimmed(fields[3])};
    if (app.name.empty()) app.name = app.id;
    apps.push_back(std::move(app));
  }
  return apps;
}

std::optional<std::vector<FlatpakUnused>> listUnusedFlatpakRefs(const std::string& flatpak, bool system,
                                                                const Context& context) {
  const auto result =
      Shell::run(flatpak, {"uninstall", "--unused", system ? "--system" : "--user"}, flatpakTimeout, context);
  // Declining its own question makes flatpak end with a failure status; what it listed
  // before that is still the answer.
  if (result.code < 0) return std::nullopt;
  std::vector<FlatpakUnused> unused;
  for (const auto& line : splitLines(result.out)) {
    auto found = words(line);
    // " 1.     org.gnome.Platform.Locale     43     r"
    if (found.size() < 2 || !isListNumber(found[0])) continue;
    unused.push_back({found[1], std::vector<std::string>(found.begin() + 2, found.end())});
  }
  if (unused.empty() && result.code != 0 && result.out.find("Nothing unused") == std::string::npos) {
    return std::nullopt;
  }
  return unused;
}

std::string flatpakInstallationOption(const std::string& installation) {
  if (installation == "user") return "--user";
  if (installation == "system") return "--system";
  return "--installation=" + installation;
}

}  // namespace tw
