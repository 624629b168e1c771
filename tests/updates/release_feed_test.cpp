#include <gtest/gtest.h>

#include "updates/release_feed.h"

namespace tw {
namespace {

const std::string goodFeed = R"({
  "version": "0.2.0",
  "date": "2026-12-01",
  "notes": "https://tidewarden.github.io/releases/0.2.0",
  "download": "https://tidewarden.github.io/download/tidewarden_0.2.0_amd64.deb"
})";

std::string feedWith(const std::string& key, const nlohmann::json& value) {
  auto feed = nlohmann::json::parse(goodFeed);
  if (value.is_discarded()) {
    feed.erase(key);
  } else {
    feed[key] = value;
  }
  return feed.dump();
}

TEST(ReleaseFeed, ReadsTheFourFieldsAndIgnoresKeysItDoesNotKnow) {
  const auto feed = parseReleaseFeed(goodFeed);
  ASSERT_TRUE(feed.has_value());
  EXPECT_EQ(feed->version.text(), "0.2.0");
  EXPECT_EQ(feed->date, "2026-12-01");
  EXPECT_EQ(feed->notesUrl, "https://tidewarden.github.io/releases/0.2.0");
  EXPECT_EQ(feed->downloadUrl, "https://tidewarden.github.io/download/tidewarden_0.2.0_amd64.deb");

  EXPECT_TRUE(parseReleaseFeed(feedWith("channel", "stable")).has_value());
  EXPECT_TRUE(parseReleaseFeed(feedWith("date", "2026-12-01T09:30:00Z")).has_value());
  EXPECT_EQ(parseReleaseFeed(releaseFeedJson(*feed).dump())->downloadUrl, feed->downloadUrl);
}

TEST(ReleaseFeed, AnythingMalformedIsNoFeedAtAll) {
  const nlohmann::json missing(nlohmann::json::value_t::discarded);
  const std::vector<std::pair<std::string, std::string>> bodies{
      {"empty", ""},
      {"not JSON", "<html>Moved</html>"},
      {"cut short", goodFeed.substr(0, goodFeed.size() / 2)},
      {"a list", "[" + goodFeed + "]"},
      {"two documents", goodFeed + goodFeed},
      {"trailing text", goodFeed + " ok"},
      {"a key twice", R"({"version": "0.2.0", "version": "9.9.9", "date": "2026-12-01",)"
                      R"( "notes": "https://a.example/n", "download": "https://a.example/d"})"},
      {"invalid UTF-8", std::string(goodFeed).replace(goodFeed.find("releases"), 1, "\xff")},
      {"no version", feedWith("version", missing)},
      {"no date", feedWith("date", missing)},
      {"no notes", feedWith("notes", missing)},
      {"no download", feedWith("download", missing)},
      {"version a number", feedWith("version", 2)},
      {"version with v", feedWith("version", "v0.2.0")},
      {"version of two parts", feedWith("version", "0.2")},
      {"date that does not exist", feedWith("date", "2026-02-30")},
      {"date in words", feedWith("date", "December 1, 2026")},
      {"notes over http", feedWith("notes", "http://tidewarden.github.io/releases/0.2.0")},
      {"notes as a script", feedWith("notes", "javascript:alert(1)")},
      {"download without host", feedWith("download", "https:///tidewarden.deb")},
      {"notes with a blank", feedWith("notes", "https://a.example/release notes")},
      {"notes with a control character", feedWith("notes", "https://a.example/\x1b[31m")},
      {"notes too long", feedWith("notes", "https://a.example/" + std::string(3000, 'a'))},
      {"larger than a feed can be", feedWith("padding", std::string(maxReleaseFeedBytes, ' '))},
  };
  for (const auto& [what, body] : bodies) EXPECT_FALSE(parseReleaseFeed(body).has_value()) << what;
}

}  // namespace
}  // namespace tw
