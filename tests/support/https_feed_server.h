#pragma once

#include <optional>
#include <string>
#include <vector>

#include <sys/types.h>
#include <nlohmann/json.hpp>

#include "support/fake_home.h"

namespace tw::test {

// A real HTTPS server on 127.0.0.1 for the update check: python3's http.server behind a
// self-signed certificate that openssl makes for it. The paths it answers besides the
// files given to `serve` are listed in https_feed_server.py. Stopped when the object goes.
class HttpsFeedServer {
 public:
  HttpsFeedServer();
  ~HttpsFeedServer();
  HttpsFeedServer(const HttpsFeedServer&) = delete;
  HttpsFeedServer& operator=(const HttpsFeedServer&) = delete;

  // Why no server can be started here (python3 or openssl missing), or nothing.
  [[nodiscard]] static std::optional<std::string> unavailableReason();

  // "https://127.0.0.1:<port>/<path>".
  [[nodiscard]] std::string url(const std::string& path) const;
  // The certificate to trust for this server.
  [[nodiscard]] std::string certificate() const { return folder_ / "certificate.pem"; }
  // Serves `body` at "/<name>".
  void serve(const std::string& name, const std::string& body) const;
  // The requests that reached the server so far: method, path and headers, oldest first.
  [[nodiscard]] std::vector<nlohmann::json> requests() const;

 private:
  void stop();

  TempFolder folder_{"tw-feed-server"};
  pid_t pid_ = -1;
  int port_ = 0;
};

}  // namespace tw::test
