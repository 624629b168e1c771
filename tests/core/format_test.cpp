#include <gtest/gtest.h>

#include <limits>

#include "core/date.h"
#include "core/format.h"

namespace tw {
namespace {

TEST(ByteFormatter, UsesDecimalUnitsWithTheirOwnPrecision) {
  EXPECT_EQ(byteFormatter(0), "0 bytes");
  EXPECT_EQ(byteFormatter(1), "1 byte");
  EXPECT_EQ(byteFormatter(999), "999 bytes");
  EXPECT_EQ(byteFormatter(1000), "1 KB");
  EXPECT_EQ(byteFormatter(1499), "1 KB");
  EXPECT_EQ(byteFormatter(1500), "2 KB");
  EXPECT_EQ(byteFormatter(12'345'678), "12.3 MB");
  EXPECT_EQ(byteFormatter(12'000'000), "12 MB");
  EXPECT_EQ(byteFormatter(1'500'000'000), "1.5 GB");
  EXPECT_EQ(byteFormatter(1'234'567'890), "1.23 GB");
  EXPECT_EQ(byteFormatter(2'000'000'000'000), "2 TB");
  EXPECT_EQ(byteFormatter(-1'500'000), "-1.5 MB");
  // A value that rounds up to a thousand of one unit is one of the next.
  EXPECT_EQ(byteFormatter(999'499), "999 KB");
  EXPECT_EQ(byteFormatter(999'500), "1 MB");
  EXPECT_EQ(byteFormatter(999'950'000), "1 GB");
  EXPECT_EQ(byteFormatter(999'994'999'999), "999.99 GB");
  EXPECT_EQ(byteFormatter(999'995'000'000), "1 TB");
}

TEST(Ago, ShortRelativeAges) {
  const Date now = dateFromSeconds(1'800'000'000);
  EXPECT_EQ(ago(now - std::chrono::seconds{5}, now), "just now");
  EXPECT_EQ(ago(now + std::chrono::hours{5}, now), "just now");
  EXPECT_EQ(ago(now - std::chrono::minutes{1}, now), "1 minute ago");
  EXPECT_EQ(ago(now - std::chrono::hours{3}, now), "3 hours ago");
  EXPECT_EQ(ago(now - std::chrono::hours{24 * 3}, now), "3 days ago");
  EXPECT_EQ(ago(now - std::chrono::hours{24 * 65}, now), "2 months ago");
  EXPECT_EQ(ago(now - std::chrono::hours{24 * 800}, now), "2 years ago");
}

TEST(Iso8601, DatesBeyondTheClocksRangeAreClampedNotOverflowed) {
  EXPECT_GT(dateFromSeconds(std::numeric_limits<std::int64_t>::max()), dateFromSeconds(9'000'000'000));
  EXPECT_LT(dateFromSeconds(std::numeric_limits<std::int64_t>::min()), dateFromSeconds(-9'000'000'000));
}

TEST(Iso8601, WritesWholeSecondsInUtcAndReadsOffsetsAndFractions) {
  EXPECT_EQ(iso8601(dateFromSeconds(1'785'663'667)), "2026-08-02T09:41:07Z");
  EXPECT_EQ(parseIso8601("2026-08-02T09:41:07Z"), dateFromSeconds(1'785'663'667));
  EXPECT_EQ(parseIso8601("2026-08-02T11:41:07+02:00"), dateFromSeconds(1'785'663'667));
  EXPECT_EQ(secondsSince1970(*parseIso8601("2026-08-02T09:41:07.250Z")), 1'785'663'667);
  for (const char* bad :
       {"", "2026-08-02", "2026-13-02T09:41:07Z", "2026-02-30T09:41:07Z", "2026-08-02T09:41:07",
        "2026-08-02T09:41:07Zjunk", "20x6-08-02T09:41:07Z", "7250-01-01T00:00:00Z", "0001-01-01T00:00:00Z"}) {
    EXPECT_FALSE(parseIso8601(bad).has_value()) << bad;
  }
}

}  // namespace
}  // namespace tw
