#include <gtest/gtest.h>

#include "trash/trash_model.h"

namespace tw::test {
namespace {

const Date now = dateFromSeconds(1'750'000'000);

TrashItem item(const std::string& name, std::optional<std::int64_t> size, std::optional<int> daysAgo,
               std::optional<std::string> origin = std::nullopt) {
  TrashItem result;
  result.name = name;
  result.path = "/home/ann/.local/share/Trash/files/" + name;
  result.size = size;
  if (daysAgo) result.trashed = now - std::chrono::hours{24 * *daysAgo};
  result.origin = std::move(origin);
  return result;
}

std::vector<std::string> names(const std::vector<TrashItem>& items) {
  std::vector<std::string> result;
  for (const auto& entry : items) result.push_back(entry.name);
  return result;
}

}  // namespace

TEST(TrashVisible, OlderThan30DaysHidesItemsFrom29DaysAgoAndShows31) {
  const std::vector<TrashItem> items{item("recent", 1, 29), item("old", 1, 31), item("undated", 1, std::nullopt),
                                     item("exactly", 1, 30)};

  EXPECT_EQ(names(visibleTrashItems(items, TrashModel::Sort::name, "", true, now)), std::vector<std::string>{"old"});
  EXPECT_EQ(visibleTrashItems(items, TrashModel::Sort::name, "", false, now).size(), 4u);
}

TEST(TrashVisible, SearchMatchesNameOrOriginIgnoringCase) {
  const std::vector<TrashItem> items{item("Invoice.PDF", 1, 1, "/home/ann/Documents/Invoice.PDF"),
                                     item("photo.jpg", 1, 1, "/home/ann/ÉTÉ 2024/photo.jpg"), item("notes.txt", 1, 1)};
  const std::vector<std::pair<std::string, std::vector<std::string>>> cases{
      {"invoice", {"Invoice.PDF"}}, {"documents", {"Invoice.PDF"}}, {"été", {"photo.jpg"}}, {"missing", {}}};
  for (const auto& [search, expected] : cases) {
    EXPECT_EQ(names(visibleTrashItems(items, TrashModel::Sort::name, search, false, now)), expected) << search;
  }
}

TEST(TrashVisible, SortsLargestNewestOrAlphabeticalFirstAndKeepsTiesInOrder) {
  const std::vector<TrashItem> items{item("b", 10, 5), item("A", std::nullopt, 1), item("c", 300, std::nullopt),
                                     item("d", 10, 2)};

  EXPECT_EQ(names(visibleTrashItems(items, TrashModel::Sort::size, "", false, now)),
            (std::vector<std::string>{"c", "b", "d", "A"}));
  EXPECT_EQ(names(visibleTrashItems(items, TrashModel::Sort::date, "", false, now)),
            (std::vector<std::string>{"A", "d", "b", "c"}));
  EXPECT_EQ(names(visibleTrashItems(items, TrashModel::Sort::name, "", false, now)),
            (std::vector<std::string>{"A", "b", "c", "d"}));
}

}  // namespace tw::test
