#include "screens/snap_tool.h"

#include "core/shell.h"
#include "screens/tool_output.h"

namespace tw {
namespace {

constexpr double snapTimeout = 60;

}  // namespace

bool SnapRevision::hasNote(const std::string& note) const {
  std::size_t start = 0;
  for (;;) {
    const std::size_t comma = notes.find(',', start);
    if (notes.compare(start, comma == std::string::npos ? std::string::npos : comma - start, note) == 0) return true;
    if (comma == std::string::npos) return false;
    start = comma + 1;
  }
}

std::optional<std::vector<SnapRevision>> listSnaps(const std::string& snap, bool all, const Context& context) {
  const auto result = Shell::run(
      snap, all ? std::vector<std::string>{"list", "--all"} : std::vector<std::string>{"list"}, snapTimeout, context);
  if (result.code != 0) return std::nullopt;
  // Name  Version  Rev  Tracking  Publisher  Notes
  std::vector<SnapRevision> revisions;
  for (auto& row : tableRows(result.out)) {
    if (row.size() < 4) continue;
    revisions.push_back({row[0], row[1], row[2], row.back()});
  }
  return revisions;
}

std::optional<std::vector<SnapSnapshot>> listSnapSnapshots(const std::string& snap, const Context& context) {
  const auto result = Shell::run(snap, {"saved"}, snapTimeout, context);
  if (result.code != 0) return std::nullopt;
  // Set  Snap  Age  Version  Rev  Size  Notes; "No snapshots found." when there are none.
  std::vector<SnapSnapshot> snapshots;
  for (auto& row : tableRows(result.out)) {
    if (row.size() < 5 || row[0].find_first_not_of("0123456789") != std::string::npos) continue;
    snapshots.push_back({row[0], row[1], row[2], row[3], row[4], row.size() > 5 ? decimalSize(row[5]) : std::nullopt});
  }
  return snapshots;
}

}  // namespace tw
