#include <algorithm>
#include <cstdio>

#include "cli/commands.h"
#include "core/format.h"
#include "core/history.h"
#include "core/sizes.h"

namespace tw::CLI {
namespace {

nlohmann::json entryJSON(const HistoryEntry& entry) {
  return {{"date", jsonDate(entry.date)},
          {"category", printable(entry.category)},
          {"name", printable(entry.name)},
          {"bytes", entry.bytes},
          {"restore", jsonString(entry.restore)}};
}

}  // namespace

int historyCommand(const Args& args, const Context& context) {
  const std::int64_t limit = args.number("limit", 20, 1);
  const std::vector<HistoryEntry> all = context.history->entries();
  const std::size_t shown = std::min<std::size_t>(all.size(), static_cast<std::size_t>(limit));
  // Newest first: the log keeps the newest last.
  const std::vector<HistoryEntry> newest(all.rbegin(), all.rbegin() + static_cast<std::ptrdiff_t>(shown));

  if (args.json()) {
    std::int64_t totalBytes = 0;
    nlohmann::json entries = nlohmann::json::array();
    for (const auto& entry : newest) {
      totalBytes = saturatingAdd(totalBytes, entry.bytes);
      entries.push_back(entryJSON(entry));
    }
    emit({{"count", newest.size()}, {"totalBytes", totalBytes}, {"entries", entries}});
    return 0;
  }
  if (newest.empty()) {
    std::printf("Nothing cleaned yet.\n");
    return 0;
  }
  std::vector<std::vector<std::string>> rows;
  for (const auto& entry : newest) {
    std::vector<std::string> row{localDateTime(entry.date), terminalText(entry.category), terminalText(entry.name),
                                 byteFormatter(entry.bytes)};
    // Without a hint the row ends at the size, so no line ends in blanks.
    if (entry.restore) row.push_back(terminalText(*entry.restore));
    rows.push_back(std::move(row));
  }
  table(rows, {Align::left, Align::left, Align::left, Align::right});
  std::printf("\nShowing %zu of %zu %s\n", newest.size(), all.size(), all.size() == 1 ? "entry" : "entries");
  return 0;
}

}  // namespace tw::CLI
