#include <cstdio>
#include <string>
#include <vector>

#include "automation/rules.h"
#include "cli/commands.h"
#include "core/format.h"
#include "core/sizes.h"
#include "core/text.h"
#include "junk/junk_model.h"
#include "junk/junk_scan.h"

namespace tw::CLI {
namespace {

nlohmann::json itemsJSON(const JunkCategory& category) {
  nlohmann::json items = nlohmann::json::array();
  for (const auto& item : category.items()) items.push_back({{"path", validUtf8(item.path)}, {"size", item.size}});
  return items;
}

nlohmann::json categoryJSON(const JunkCategory& category, bool withItems) {
  nlohmann::json json{
      {"id", category.id},
      {"title", category.title},
      {"detail", category.detail},
      {"safe", Rules::safeCategories().contains(category.id)},
      {"total", category.total()},
      {"count", category.items().size()},
      {"note", jsonString(category.note())},
  };
  if (withItems) json["items"] = itemsJSON(category);
  return json;
}

void printItems(const JunkCategory& category, const std::string& home) {
  std::vector<std::vector<std::string>> rows;
  for (const auto& item : category.items()) rows.push_back({byteFormatter(item.size), tilde(item.path, home)});
  table(rows, {Align::right}, "      ");
}

void printText(const JunkCategories& categories, bool withItems, std::int64_t total, std::int64_t safeTotal,
               const std::string& home) {
  std::vector<std::vector<std::string>> rows;
  for (const auto& category : categories) {
    const std::string mark = Rules::safeCategories().contains(category->id) ? "✓ " : "  ";
    rows.push_back({mark + category->title, byteFormatter(category->total()),
                    plural(static_cast<std::int64_t>(category->items().size()), "item")});
  }
  // One aligned table, with each category's note and paths printed under its own line.
  const auto lines = splitLines(formatTable(rows, {Align::left, Align::right, Align::right}));
  for (std::size_t index = 0; index < categories.size() && index < lines.size(); ++index) {
    std::printf("%s\n", lines[index].c_str());
    if (const auto& note = categories[index]->note()) std::printf("      %s\n", terminalText(*note).c_str());
    if (withItems) printItems(*categories[index], home);
  }
  std::printf("\nTotal %s. `tidewarden clean --safe` frees %s (✓ categories).\n", byteFormatter(total).c_str(),
              byteFormatter(safeTotal).c_str());
}

}  // namespace

int junkCommand(const Args& args, const Context& context) {
  const JunkCategories categories = JunkModel::makeCategories(context);
  busy(args.json(), {}, "Looking for junk…", [&] { (void)scanJunk(categories); });

  std::int64_t total = 0;
  std::int64_t safeTotal = 0;
  for (const auto& category : categories) {
    total = saturatingAdd(total, category->total());
    if (Rules::safeCategories().contains(category->id)) safeTotal = saturatingAdd(safeTotal, category->total());
  }
  const bool withItems = args.has("items");
  if (!args.json()) {
    printText(categories, withItems, total, safeTotal, context.home);
    return 0;
  }
  nlohmann::json list = nlohmann::json::array();
  for (const auto& category : categories) list.push_back(categoryJSON(*category, withItems));
  emit({{"total", total}, {"safeTotal", safeTotal}, {"categories", list}});
  return 0;
}

}  // namespace tw::CLI
