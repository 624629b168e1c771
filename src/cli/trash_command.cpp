#include <algorithm>
#include <atomic>
#include <cstdio>
#include <stdexcept>

#include "cli/commands.h"
#include "core/format.h"
#include "core/measure.h"
#include "core/sizes.h"
#include "trash/trash_layout.h"
#include "trash/trash_reader.h"
#include "trash/trash_removal.h"

// `trash` works on the home Trash only, as on macOS where volume Trashes belong to
// their drives: `trash empty` never reaches into a mounted disk. The Trash model (and so
// the app) lists and deletes the Trash of every mounted volume.
namespace tw::CLI {
namespace {

struct HomeTrash {
  TrashDir dir;
  std::vector<TrashItem> items;
};

HomeTrash readHomeTrash(const Context& context) {
  HomeTrash trash{TrashLayout::homeDir(context), {}};
  TrashListing listing = readTrashFolder(trash.dir, context);
  if (!listing.readable) {
    throw std::runtime_error("can't read " + tilde(trash.dir.dir, context.home) + ". " +
                             TrashLayout::unreadableAdvice());
  }
  std::vector<std::string> folders;
  for (const auto& item : listing.items) {
    if (!item.size) folders.push_back(item.path);
  }
  const auto usage = measure(folders);
  for (auto& item : listing.items) {
    if (const auto found = usage.find(item.path); !item.size && found != usage.end()) {
      item.size = found->second.size;
      item.freeable = found->second.freeable;
    }
  }
  std::stable_sort(listing.items.begin(), listing.items.end(), [](const TrashItem& a, const TrashItem& b) {
    return a.freeable.value_or(0) > b.freeable.value_or(0);
  });
  trash.items = std::move(listing.items);
  return trash;
}

std::int64_t freeableTotal(const std::vector<TrashItem>& items) {
  std::int64_t total = 0;
  for (const auto& item : items) total = saturatingAdd(total, item.freeable.value_or(0));
  return total;
}

nlohmann::json itemsJSON(const std::vector<TrashItem>& items) {
  nlohmann::json list = nlohmann::json::array();
  for (const auto& item : items) {
    list.push_back({{"path", jsonString(item.path)},
                    {"name", jsonString(item.name)},
                    {"size", item.size ? nlohmann::json(*item.size) : nlohmann::json(nullptr)},
                    {"freeable", item.freeable ? nlohmann::json(*item.freeable) : nlohmann::json(nullptr)},
                    {"trashed", jsonDate(item.trashed)},
                    {"origin", jsonString(item.origin)}});
  }
  return list;
}

void printItems(const std::vector<TrashItem>& items, const std::string& home) {
  std::vector<std::vector<std::string>> rows{{"NAME", "SIZE", "DELETED", "FROM"}};
  for (const auto& item : items) {
    rows.push_back({terminalText(item.name), byteFormatter(item.size.value_or(0)),
                    item.trashed ? localDateTime(*item.trashed) : "-",
                    item.origin ? terminalText(tilde(*item.origin, home)) : "-"});
  }
  table(rows, {Align::left, Align::right, Align::left, Align::left});
  std::printf("\n%s, %s\n", plural(static_cast<std::int64_t>(items.size()), "item").c_str(),
              byteFormatter(freeableTotal(items)).c_str());
}

int list(const Args& args, const HomeTrash& trash, const std::string& home) {
  if (args.json()) {
    emit({{"total", freeableTotal(trash.items)}, {"count", trash.items.size()}, {"items", itemsJSON(trash.items)}});
    return 0;
  }
  if (trash.items.empty()) {
    std::printf("The Trash is empty.\n");
    return 0;
  }
  printItems(trash.items, home);
  return 0;
}

int preview(const Args& args, const HomeTrash& trash, const std::string& home) {
  const bool dryRun = args.has("dry-run");
  if (args.json()) {
    emit({{"dryRun", dryRun},
          {"confirmed", args.has("yes")},
          {"wouldFree", freeableTotal(trash.items)},
          {"count", trash.items.size()},
          {"items", itemsJSON(trash.items)}});
  } else {
    printItems(trash.items, home);
    std::printf("\n%s everything above. This can't be undone.\n",
                dryRun ? "Would permanently delete" : "Will permanently delete");
  }
  return dryRun ? 0 : needConfirmation(args, "empty the Trash");
}

void printPaths(const std::vector<std::string>& paths, const std::string& heading, const std::string& home) {
  if (paths.empty()) return;
  std::printf("%zu%s\n", paths.size(), heading.c_str());
  for (const auto& path : paths) std::printf("  %s\n", terminalText(tilde(path, home)).c_str());
}

int empty(const Args& args, const HomeTrash& trash, const Context& context) {
  if (trash.items.empty()) {
    if (args.json()) {
      emit({{"dryRun", args.has("dry-run")},
            {"confirmed", args.has("yes")},
            {"freed", 0},
            {"deleted", 0},
            {"needsAdmin", nlohmann::json::array()},
            {"blocked", nlohmann::json::array()}});
    } else {
      std::printf("The Trash is already empty.\n");
    }
    return 0;
  }
  if (!args.has("yes") || args.has("dry-run")) return preview(args, trash, context.home);

  const auto total = static_cast<std::int64_t>(trash.items.size());
  std::atomic<std::size_t> done{0};
  const auto status = [&done, total] { return std::to_string(done.load()) + "/" + std::to_string(total); };
  const TrashRemoval removal = busy(args.json(), status, "Emptying the Trash (" + plural(total, "item") + ")",
                                    [&] { return removeFromTrash(trash.items, {trash.dir}, context, &done); });

  if (args.json()) {
    emit({{"dryRun", false},
          {"confirmed", true},
          {"freed", removal.freed},
          {"deleted", removal.removed.size()},
          {"needsAdmin", removal.needsAdmin},
          {"blocked", removal.blocked}});
  } else {
    std::printf("Deleted %s, freed about %s\n",
                plural(static_cast<std::int64_t>(removal.removed.size()), "item").c_str(),
                byteFormatter(removal.freed).c_str());
    printPaths(removal.needsAdmin,
               " need administrator rights; delete them from the Tidewarden app or with sudo:", context.home);
    printPaths(removal.blocked, " could not be deleted (in use or protected):", context.home);
  }
  return removal.needsAdmin.empty() && removal.blocked.empty() ? 0 : 1;
}

}  // namespace

int trashCommand(const Args& args, const Context& context) {
  const std::string subcommand = args.positional.empty() ? "list" : args.positional.front();
  if (subcommand != "list" && subcommand != "empty") {
    throw UsageError("unknown trash subcommand '" + subcommand + "' (expected 'list' or 'empty')");
  }
  if (subcommand == "list" && (args.has("yes") || args.has("dry-run"))) {
    throw UsageError("--yes and --dry-run only apply to `trash empty`");
  }
  const HomeTrash trash = busy(args.json(), nullptr, "Reading the Trash…", [&] { return readHomeTrash(context); });
  return subcommand == "list" ? list(args, trash, context.home) : empty(args, trash, context);
}

}  // namespace tw::CLI
