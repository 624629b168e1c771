#pragma once

#include <chrono>
#include <cstddef>
#include <string>

namespace tw {

struct HttpsFetchOptions {
  std::chrono::milliseconds timeout{10'000};  // for the whole request, connecting included
  std::size_t maxBytes = 64 * 1024;           // a longer body fails rather than filling memory
  std::string userAgent{};                    // the only identifying header sent
  std::string caFile{};                       // trust these certificates instead of the system's
};

enum class HttpsFetchError {
  none,
  notHttps,  // the URL, or a redirect, leaves HTTPS
  network,   // no connection, a TLS failure, a certificate not trusted
  timeout,
  tooLarge,
  httpStatus,  // the server answered with something other than 200
};

struct HttpsFetchResult {
  HttpsFetchError error = HttpsFetchError::none;
  long status = 0;  // the HTTP status, when one came
  std::string body;

  [[nodiscard]] bool ok() const { return error == HttpsFetchError::none; }
};

// One GET over HTTPS with certificate checks on, no cookies, no content encoding and at
// most three redirects that stay on HTTPS. Blocks for at most the time-out.
[[nodiscard]] HttpsFetchResult fetchOverHttps(const std::string& url, const HttpsFetchOptions& options);

}  // namespace tw
