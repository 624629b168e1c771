#include <cstdio>
#include <mutex>
#include <string>
#include <vector>

#include "automation/rules.h"
#include "cli/commands.h"
#include "core/format.h"
#include "core/text.h"
#include "junk/junk_cleaner.h"
#include "junk/junk_model.h"
#include "junk/junk_scan.h"

// `clean --safe` exits 1 when any path could not be deleted, so a script notices; what
// was deleted stays deleted and is in the history.
namespace tw::CLI {
namespace {

struct SafeJunk {
  std::vector<const JunkCategory*> categories;  // the safe ones that found something
  std::int64_t count = 0;
  std::int64_t bytes = 0;
};

SafeJunk safeJunk(const JunkCategories& categories) {
  SafeJunk safe;
  for (const auto& category : categories) {
    if (!Rules::safeCategories().contains(category->id) || category->items().empty()) continue;
    safe.categories.push_back(category.get());
    safe.count += static_cast<std::int64_t>(category->items().size());
    safe.bytes += category->total();
  }
  return safe;
}

nlohmann::json previewJSON(const SafeJunk& safe, bool dryRun, bool confirmed) {
  nlohmann::json list = nlohmann::json::array();
  for (const JunkCategory* category : safe.categories) {
    nlohmann::json items = nlohmann::json::array();
    for (const auto& item : category->items()) items.push_back({{"path", validUtf8(item.path)}, {"size", item.size}});
    list.push_back({{"id", category->id},
                    {"title", category->title},
                    {"count", category->items().size()},
                    {"total", category->total()},
                    {"items", items}});
  }
  return {{"dryRun", dryRun},
          {"confirmed", confirmed},
          {"wouldFree", safe.bytes},
          {"count", safe.count},
          {"categories", list}};
}

void printPreview(const SafeJunk& safe, bool dryRun) {
  std::printf("%s %s (%s):\n", dryRun ? "Would delete" : "Will delete", plural(safe.count, "item").c_str(),
              byteFormatter(safe.bytes).c_str());
  std::vector<std::vector<std::string>> rows;
  for (const JunkCategory* category : safe.categories) {
    rows.push_back({category->title, plural(static_cast<std::int64_t>(category->items().size()), "item"),
                    byteFormatter(category->total())});
  }
  table(rows, {Align::left, Align::right, Align::right}, "  ");
}

void printSummary(const JunkCleanOutcome& outcome, const std::string& home) {
  std::printf("Freed %s from %s.\n", byteFormatter(outcome.freed).c_str(), plural(outcome.deleted, "item").c_str());
  if (outcome.failed.empty()) return;
  std::printf("\n%s could not be fully deleted:\n",
              plural(static_cast<std::int64_t>(outcome.failed.size()), "item").c_str());
  for (const auto& [path, reason] : outcome.failed) {
    std::printf("  %s: %s\n", terminalText(tilde(path, home)).c_str(), terminalText(reason).c_str());
  }
}

JunkCleanOutcome clean(const SafeJunk& safe, const JunkScanResult& scan, bool quiet, const Context& context) {
  std::mutex lock;
  std::string current;
  const auto status = [&] {
    const std::lock_guard guard(lock);
    return current;
  };
  const auto progress = [&](const std::string& path) {
    const std::lock_guard guard(lock);
    current = terminalText(tilde(path, context.home));
  };
  return busy(quiet, status, "Cleaning " + plural(safe.count, "item"),
              [&] { return cleanJunk(safe.categories, scan.identities, context, progress); });
}

}  // namespace

int cleanCommand(const Args& args, const Context& context) {
  if (!args.has("safe")) throw UsageError("clean needs --safe (deletes the ✓ categories from `tidewarden junk`)");
  const bool dryRun = args.has("dry-run");
  const bool confirmed = args.has("yes");

  const JunkCategories categories = JunkModel::makeCategories(context);
  const JunkScanResult scan = busy(args.json(), {}, "Looking for junk…", [&] { return scanJunk(categories); });
  const SafeJunk safe = safeJunk(categories);

  if (safe.count == 0 && !args.json()) {
    std::printf("Nothing to clean: the ✓ categories of `tidewarden junk` are empty.\n");
    return 0;
  }
  if (dryRun || !confirmed) {
    if (args.json()) {
      emit(previewJSON(safe, dryRun, confirmed));
    } else {
      printPreview(safe, dryRun);
    }
    // Nothing to delete needs no confirmation.
    return dryRun || safe.count == 0 ? 0 : needConfirmation(args, "delete them");
  }

  const JunkCleanOutcome outcome = clean(safe, scan, args.json(), context);
  if (args.json()) {
    nlohmann::json failed = nlohmann::json::array(), reasons = nlohmann::json::array();
    for (const auto& [path, reason] : outcome.failed) {
      failed.push_back(validUtf8(path));
      reasons.push_back({{"path", validUtf8(path)}, {"reason", validUtf8(reason)}});
    }
    emit({{"dryRun", false},
          {"confirmed", true},
          {"freed", outcome.freed},
          {"deleted", outcome.deleted},
          {"failed", failed},
          {"failures", reasons}});
  } else {
    printSummary(outcome, context.home);
  }
  return outcome.failed.empty() ? 0 : 1;
}

}  // namespace tw::CLI
