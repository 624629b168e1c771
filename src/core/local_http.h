#pragma once

#include <cstddef>
#include <stop_token>
#include <string>
#include <string_view>
#include <system_error>

namespace tw {

// A server on this machine: a Unix socket (a container engine) or a loopback address
// (a model server such as "http://127.0.0.1:11434").
struct LocalEndpoint {
  std::string unixSocket;                 // empty: connect to `base` over TCP
  std::string base = "http://localhost";  // scheme and authority the paths are appended to
};

struct HttpResponse {
  std::error_code error;  // the transport failed (nothing answered, time-out, too big); status is 0
  long status = 0;
  std::string body;

  [[nodiscard]] bool succeeded() const { return !error && status >= 200 && status < 300; }
  // Nothing listens there (no socket, refused, not permitted): as opposed to a server that
  // answered slowly or badly.
  [[nodiscard]] bool unreachable() const;
  [[nodiscard]] bool timedOut() const;
};

// Plain HTTP/1.1 requests to local servers. Blocking; bounded in time and in the size of
// what is read back; a stop request ends a transfer early.
struct LocalHttp {
  static constexpr std::size_t maxBodyBytes = std::size_t{256} << 20;

  [[nodiscard]] static HttpResponse request(const LocalEndpoint& endpoint, std::string_view method,
                                            const std::string& pathAndQuery, double timeoutSeconds,
                                            std::stop_token stop = {});
};

}  // namespace tw
