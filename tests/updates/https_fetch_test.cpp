#include <gtest/gtest.h>

#include <chrono>

#include "support/https_feed_server.h"
#include "updates/https_fetch.h"

namespace tw {
namespace {

using namespace std::chrono_literals;

class HttpsFetch : public ::testing::Test {
 protected:
  void SetUp() override {
    if (auto reason = test::HttpsFeedServer::unavailableReason()) GTEST_SKIP() << *reason;
    server_.emplace();
  }

  [[nodiscard]] HttpsFetchResult fetch(const std::string& path, std::chrono::milliseconds timeout = 5s) const {
    return fetchOverHttps(
        server_->url(path),
        {.timeout = timeout, .maxBytes = 64 * 1024, .userAgent = "Tidewarden/0.1.0", .caFile = server_->certificate()});
  }

  std::optional<test::HttpsFeedServer> server_;
};

TEST_F(HttpsFetch, GetsTheBodyAndSendsNothingButHostUserAgentAndAccept) {
  server_->serve("feed.json", R"({"version": "0.2.0"})");
  const auto result = fetch("feed.json");
  ASSERT_TRUE(result.ok()) << static_cast<int>(result.error);
  EXPECT_EQ(result.status, 200);
  EXPECT_EQ(result.body, R"({"version": "0.2.0"})");

  const auto requests = server_->requests();
  ASSERT_EQ(requests.size(), 1u);
  EXPECT_EQ(requests[0]["method"], "GET");
  EXPECT_EQ(requests[0]["path"], "/feed.json");
  std::map<std::string, std::string> headers;
  for (const auto& header : requests[0]["headers"]) headers[header[0]] = header[1];
  const std::map<std::string, std::string> expected{{"Host", server_->url("").substr(8, server_->url("").size() - 9)},
                                                    {"User-Agent", "Tidewarden/0.1.0"},
                                                    {"Accept", "application/json"}};
  EXPECT_EQ(headers, expected);
}

TEST_F(HttpsFetch, FollowsRedirectsOnHttpsAndRefusesToLeaveIt) {
  server_->serve("feed.json", "{}");
  EXPECT_EQ(fetch("redirect/feed.json").body, "{}");

  EXPECT_EQ(fetch("redirect-to-http").error, HttpsFetchError::notHttps);
  const std::size_t before = server_->requests().size();
  const auto plain = fetchOverHttps("http://127.0.0.1:9/feed.json", {});
  EXPECT_EQ(plain.error, HttpsFetchError::notHttps);
  EXPECT_EQ(server_->requests().size(), before);
}

TEST_F(HttpsFetch, HttpErrorsCarryTheirStatusAndNoBody) {
  for (const int status : {404, 500, 503, 204}) {
    const auto result = fetch("status/" + std::to_string(status));
    EXPECT_EQ(result.error, HttpsFetchError::httpStatus) << status;
    EXPECT_EQ(result.status, status);
    EXPECT_EQ(result.body, "");
  }
  EXPECT_EQ(fetch("no-such-feed.json").status, 404);
}

TEST_F(HttpsFetch, ABodyPastTheCapStopsTheTransferWhetherItsLengthIsKnownOrNot) {
  const auto announced = fetch("large");
  EXPECT_EQ(announced.error, HttpsFetchError::tooLarge);
  EXPECT_EQ(announced.body, "");
  const auto endless = fetch("endless");
  EXPECT_EQ(endless.error, HttpsFetchError::tooLarge);
  EXPECT_EQ(endless.body, "");
}

TEST_F(HttpsFetch, ASlowServerRunsIntoTheTimeOutInsteadOfBeingAwaited) {
  server_->serve("feed.json", "{}");
  const auto started = std::chrono::steady_clock::now();
  const auto result = fetch("slow/feed.json", 1s);
  const auto waited = std::chrono::steady_clock::now() - started;
  EXPECT_EQ(result.error, HttpsFetchError::timeout);
  EXPECT_LT(waited, 4s) << "the server answers after five seconds";
}

TEST_F(HttpsFetch, ACertificateNobodyTrustsIsRefused) {
  server_->serve("feed.json", "{}");
  const auto result = fetchOverHttps(server_->url("feed.json"), {.timeout = 5s});
  EXPECT_EQ(result.error, HttpsFetchError::network);
  EXPECT_EQ(result.body, "");
}

}  // namespace
}  // namespace tw
