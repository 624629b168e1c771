#include <atomic>
#include <cstdio>

#include "cli/commands.h"
#include "core/format.h"
#include "core/removal_service.h"
#include "core/sizes.h"
#include "screens/registry.h"

namespace tw::CLI {
namespace {

std::string screenTitle(const std::string& screen) {
  const auto pane = paneNamed(screen);
  const DevScreen* found = pane ? Screens::screen(*pane) : nullptr;
  return found != nullptr ? found->title : screen;
}

std::string sizeText(const std::optional<std::int64_t>& bytes) { return bytes ? byteFormatter(*bytes) : "-"; }

// With --selected only pre-selected items, and the groups that still have any, are kept.
std::vector<DevGroupPtr> keptGroups(const ProviderResult& result, bool selectedOnly) {
  if (!selectedOnly) return result.groups;
  std::vector<DevGroupPtr> kept;
  for (const auto& group : result.groups) {
    std::vector<DevItem> items;
    for (const auto& item : group->items()) {
      if (item.selected) items.push_back(item);
    }
    if (items.empty()) continue;
    auto copy = std::make_shared<DevGroup>(group->id, group->title, group->subtitle, group->icon);
    copy->lastActive = group->lastActive;
    copy->setBadges(group->badges());
    copy->setNote(group->note());
    copy->setItems(std::move(items));
    kept.push_back(std::move(copy));
  }
  return kept;
}

std::vector<DevItem> preselected(const std::vector<DevGroupPtr>& groups) {
  std::vector<DevItem> items;
  for (const auto& group : groups) {
    for (const auto& item : group->items()) {
      if (item.selected) items.push_back(item);
    }
  }
  return items;
}

nlohmann::json groupJSON(const DevGroup& group, const std::string& home) {
  nlohmann::json badges = nlohmann::json::array();
  for (const auto& badge : group.badges()) badges.push_back(printable(badge.text));
  nlohmann::json items = nlohmann::json::array();
  for (const auto& item : group.items()) items.push_back(itemJSON(item, home));
  return {{"id", printable(group.id)},
          {"title", printable(group.title)},
          {"subtitle", printable(group.subtitle)},
          {"badges", std::move(badges)},
          {"lastActive", jsonDate(group.lastActive)},
          {"note", jsonString(group.note())},
          {"items", std::move(items)},
          {"total", group.total()}};
}

void printListText(const std::string& screen, const std::vector<DevGroupPtr>& groups,
                   const std::optional<std::string>& note, std::int64_t total) {
  std::printf("%s  (columns: space freed, apparent size) pre-selected [x]\n",
              terminalText(screenTitle(screen)).c_str());
  for (const auto& group : groups) {
    std::string heading = group->title;
    if (!group->subtitle.empty()) heading += "  " + group->subtitle;
    if (!group->badges().empty()) heading += "  " + badgeText(group->badges());
    std::printf("\n%s\n", terminalText(heading).c_str());
    if (group->note()) std::printf("  %s\n", terminalText(*group->note()).c_str());
    std::vector<std::vector<std::string>> rows;
    for (const auto& item : group->items()) {
      std::string name = item.name;
      if (!item.badges.empty()) name += " " + badgeText(item.badges);
      rows.push_back({item.selected ? "[x]" : "[ ]", sizeText(item.freeable), sizeText(item.size), name, item.detail});
    }
    table(rows, {Align::left, Align::right, Align::right}, "  ");
  }
  if (note) std::printf("\n%s\n", terminalText(*note).c_str());
  std::printf("\nTotal %s\n", byteFormatter(total).c_str());
  std::printf("Preview cleanup with `tidewarden %s clean --selected --dry-run`.\n", screen.c_str());
}

int list(const std::string& screen, const ProviderResult& result, const Args& args, const std::string& home) {
  const auto groups = keptGroups(result, args.has("selected"));
  std::int64_t total = 0;
  for (const auto& group : groups) total = saturatingAdd(total, group->total());
  const std::int64_t selectedTotal = freeableSum(preselected(groups));
  if (!args.json()) {
    printListText(screen, groups, result.note, total);
    return 0;
  }
  nlohmann::json groupList = nlohmann::json::array();
  for (const auto& group : groups) groupList.push_back(groupJSON(*group, home));
  emit({{"provider", screen},
        {"note", jsonString(result.note)},
        {"total", total},
        {"selected", selectedTotal},
        {"groups", std::move(groupList)}});
  return 0;
}

int preview(const std::string& screen, const std::vector<DevItem>& items, const Args& args, const std::string& home) {
  const bool dryRun = args.has("dry-run");
  const std::int64_t total = freeableSum(items);
  std::vector<std::string> warnings;
  for (const auto& item : items) {
    if (item.warning) warnings.push_back(*item.warning);
  }
  if (args.json()) {
    nlohmann::json list = nlohmann::json::array();
    for (const auto& item : items)
      list.push_back({{"name", printable(item.name)}, {"action", printable(describe(item.action, home))}});
    nlohmann::json warningList = nlohmann::json::array();
    for (const auto& warning : warnings) warningList.push_back(printable(warning));
    emit({{"dryRun", dryRun},
          {"confirmed", false},
          {"wouldFree", total},
          {"count", items.size()},
          {"provider", screen},
          {"warnings", warningList},
          {"items", list}});
  } else {
    std::printf("%s %s, freeing about %s:\n", dryRun ? "Would run" : "Will run",
                plural(static_cast<std::int64_t>(items.size()), "action").c_str(), byteFormatter(total).c_str());
    std::vector<std::vector<std::string>> rows;
    for (const auto& item : items) rows.push_back({item.name, describe(item.action, home)});
    table(rows, {}, "  ");
    if (!warnings.empty()) {
      std::printf("\nWarnings:\n");
      for (const auto& warning : warnings) std::printf("  ! %s\n", terminalText(warning).c_str());
    }
  }
  if (dryRun) return 0;
  return needConfirmation(args, "run them");
}

int clean(const std::string& screen, const ProviderResult& result, const Args& args, const Context& context) {
  const auto items = preselected(result.groups);
  if (items.empty()) {
    if (args.json()) {
      emit({{"dryRun", args.has("dry-run")},
            {"confirmed", args.has("yes")},
            {"freed", 0},
            {"done", 0},
            {"failed", nlohmann::json::array()},
            {"provider", screen}});
    } else {
      std::printf("No pre-selected %s items. Nothing to do.\n", terminalText(screenTitle(screen)).c_str());
    }
    return 0;
  }
  if (args.has("dry-run") || !args.has("yes")) return preview(screen, items, args, context.home);

  std::vector<RemovalItem> removals;
  for (const auto& item : items) removals.push_back(RemovalItem::of(item));
  std::atomic<std::size_t> finished{0};
  RemovalOptions options;
  options.category = "Developer";
  options.finished = &finished;
  const RemovalReport report = busy(
      args.json(), [&] { return std::to_string(finished.load()) + "/" + std::to_string(items.size()); }, "Cleaning",
      [&] { return runRemovals(context, removals, options); });
  std::size_t failures = 0;
  nlohmann::json failed = nlohmann::json::array();
  for (std::size_t index = 0; index < items.size(); ++index) {
    const auto error = report.outcomes[index].error();
    if (!error) continue;
    ++failures;
    if (args.json()) {
      failed.push_back({{"name", printable(items[index].name)}, {"error", printable(*error)}});
    }
  }
  const std::size_t done = items.size() - failures;
  if (args.json()) {
    emit({{"dryRun", false},
          {"confirmed", true},
          {"freed", report.freed},
          {"done", done},
          {"failed", failed},
          {"provider", screen}});
  } else {
    std::printf("Freed %s (%zu done).\n", byteFormatter(report.freed).c_str(), done);
    for (std::size_t index = 0; index < items.size(); ++index) {
      if (const auto error = report.outcomes[index].error()) {
        std::printf("  failed: %s: %s\n", terminalText(items[index].name).c_str(), terminalText(*error).c_str());
      }
    }
  }
  return failures == 0 ? 0 : 1;
}

}  // namespace

int screenCommand(const std::string& screen, const Provider& provider, const Args& args, const Context& context) {
  const std::string subcommand = args.positional.empty() ? "list" : args.positional.front();
  if (subcommand != "list" && subcommand != "clean") {
    throw UsageError("unknown " + screen + " subcommand '" + subcommand + "' (expected 'clean')");
  }
  const bool cleaning = subcommand == "clean";
  if (cleaning && !args.has("selected")) {
    throw UsageError(screen + " clean needs --selected (runs every pre-selected item; see `tidewarden " + screen +
                     " --selected`)");
  }
  if (!cleaning && (args.has("yes") || args.has("dry-run"))) {
    throw UsageError("--yes and --dry-run only apply to `" + screen + " clean --selected`");
  }
  const ProviderResult result =
      busy(args.json(), nullptr, "Loading " + screenTitle(screen), [&] { return provider(context); });
  return cleaning ? clean(screen, result, args, context) : list(screen, result, args, context.home);
}

}  // namespace tw::CLI
