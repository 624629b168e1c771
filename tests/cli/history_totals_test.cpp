#include <gtest/gtest.h>

#include <limits>
#include <nlohmann/json.hpp>

#include "core/history.h"
#include "support/fake_home.h"

namespace tw::test {
namespace {

TEST(HistoryTotals, HugeEntriesAddUpToTheLargestSizeInsteadOfWrapping) {
  FakeHome home;
  constexpr std::int64_t huge = 9'000'000'000'000'000'000;
  home.context().history->record({{"Developer", "one", huge, std::nullopt}, {"Developer", "two", huge, std::nullopt}});

  const auto run = runTidewarden({"history", "--json"});
  ASSERT_EQ(run.code, 0) << run.err;
  const auto output = nlohmann::json::parse(run.out);
  EXPECT_EQ(output["totalBytes"].get<std::int64_t>(), std::numeric_limits<std::int64_t>::max());
  EXPECT_EQ(output["count"], 2);
}

}  // namespace
}  // namespace tw::test
