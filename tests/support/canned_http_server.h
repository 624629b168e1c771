#pragma once

#include <atomic>
#include <map>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "fs/unique_fd.h"

namespace tw::test {

// A stand-in HTTP/1.1 server on a Unix socket or a loopback TCP port, for servers a test
// cannot have for real (a damaged or hung engine, a model server that is not packaged).
// Each answer is fixed per method and path; it records the requests it was sent.
class CannedHttpServer {
 public:
  struct Answer {
    int status = 200;
    std::string body;
    bool hang = false;  // accept, read, never answer
  };

  // Listens on a new Unix socket at `socketPath`.
  explicit CannedHttpServer(const std::string& socketPath);
  // Listens on 127.0.0.1 at a free port.
  CannedHttpServer();
  ~CannedHttpServer();
  CannedHttpServer(const CannedHttpServer&) = delete;
  CannedHttpServer& operator=(const CannedHttpServer&) = delete;

  // "GET /_ping" -> answer; anything else gets 404.
  void answer(const std::string& methodAndPath, Answer answer);
  [[nodiscard]] int port() const { return port_; }
  [[nodiscard]] std::vector<std::string> requests() const;

 private:
  void serve();
  void handle(int client);

  UniqueFd listener_;
  std::string socketPath_;
  int port_ = 0;
  std::atomic<bool> stopping_{false};
  mutable std::mutex mutex_;
  std::map<std::string, Answer> answers_;
  std::vector<std::string> requests_;
  std::vector<UniqueFd> hung_;
  std::thread thread_;
};

}  // namespace tw::test
