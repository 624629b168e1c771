#include "screens/dpkg_tool.h"

#include <charconv>

#include "core/shell.h"
#include "core/text.h"
#include "screens/tool_output.h"

namespace tw {
namespace {

constexpr double dpkgTimeout = 60;

// One line per package, then its configuration files, each on a line of its own that
// starts with a space (" /etc/foo.conf 0123abcd").
constexpr const char* recordFormat =
    "${db:Status-Abbrev}\\t${binary:Package}\\t${Version}\\t${Installed-Size}\\t${Essential}\\t${Priority}\\n"
    "${Conffiles}\\n";

std::vector<std::string> splitOwners(std::string_view text) {
  std::vector<std::string> owners;
  for (auto& word : words(text)) {
    if (!word.empty() && word.back() == ',') word.pop_back();
    if (!word.empty()) owners.push_back(std::move(word));
  }
  return owners;
}

}  // namespace

bool PackageRecord::isBaseSystem() const { return essential || priority == "required" || priority == "important"; }

std::optional<std::map<std::string, std::vector<std::string>>> packageOwners(const std::string& dpkg,
                                                                             const std::vector<std::string>& paths,
                                                                             const Context& context) {
  std::map<std::string, std::vector<std::string>> owners;
  if (paths.empty()) return owners;
  std::vector<std::string> arguments{"-S"};
  arguments.insert(arguments.end(), paths.begin(), paths.end());
  const auto result = Shell::run(dpkg, arguments, dpkgTimeout, context);
  // dpkg fails when any file has no owner, and still names the owners of the others.
  if (result.code < 0) return std::nullopt;
  for (const auto& line : splitLines(result.out)) {
    if (line.starts_with("diversion by ")) continue;
    // "firefox-esr: /usr/share/applications/firefox-esr.desktop", owners joined with ", "
    const std::size_t separator = line.find(": /");
    if (separator == std::string::npos) continue;
    auto names = splitOwners(std::string_view(line).substr(0, separator));
    if (!names.empty()) owners[line.substr(separator + 2)] = std::move(names);
  }
  return owners;
}

std::optional<std::vector<PackageRecord>> packageRecords(const std::string& dpkgQuery, const Context& context) {
  const auto result = Shell::run(dpkgQuery, {"-W", "--showformat=" + std::string(recordFormat)}, dpkgTimeout, context);
  if (result.code != 0) return std::nullopt;
  std::vector<PackageRecord> records;
  for (const auto& line : splitLines(result.out)) {
    if (line.starts_with(' ')) {
      const auto found = words(line);
      if (!records.empty() && !found.empty() && found[0].starts_with('/')) records.back().conffiles.push_back(found[0]);
      continue;
    }
    const auto fields = tabFields(line);
    if (fields.size() < 6 || trimmed(fields[1]).empty()) continue;
    PackageRecord record;
    record.status = trimmed(fields[0]);
    record.name = trimmed(fields[1]);
    record.version = fields[2];
    const std::string size = trimmed(fields[3]);
    (void)std::from_chars(size.data(), size.data() + size.size(), record.installedKiB);
    record.essential = trimmed(fields[4]) == "yes";
    record.priority = trimmed(fields[5]);
    records.push_back(std::move(record));
  }
  return records;
}

}  // namespace tw
