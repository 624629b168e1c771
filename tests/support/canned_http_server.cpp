#include "support/canned_http_server.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstring>
#include <stdexcept>

namespace tw::test {
namespace {

void require(bool ok, const char* what) {
  if (!ok) throw std::runtime_error(std::string(what) + ": " + std::strerror(errno));
}

std::string reasonOf(int status) {
  switch (status) {
    case 200:
      return "OK";
    case 404:
      return "Not Found";
    case 409:
      return "Conflict";
    default:
      return "Status";
  }
}

}  // namespace

CannedHttpServer::CannedHttpServer(const std::string& socketPath) : socketPath_(socketPath) {
  listener_.reset(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
  require(static_cast<bool>(listener_), "socket");
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  require(socketPath.size() < sizeof address.sun_path, "socket path too long");
  std::memcpy(address.sun_path, socketPath.c_str(), socketPath.size() + 1);
  require(::bind(listener_.get(), reinterpret_cast<sockaddr*>(&address), sizeof address) == 0, "bind");
  require(::listen(listener_.get(), 8) == 0, "listen");
  thread_ = std::thread([this] { serve(); });
}

CannedHttpServer::CannedHttpServer() {
  listener_.reset(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
  require(static_cast<bool>(listener_), "socket");
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  require(::bind(listener_.get(), reinterpret_cast<sockaddr*>(&address), sizeof address) == 0, "bind");
  socklen_t length = sizeof address;
  require(::getsockname(listener_.get(), reinterpret_cast<sockaddr*>(&address), &length) == 0, "getsockname");
  port_ = ntohs(address.sin_port);
  require(::listen(listener_.get(), 8) == 0, "listen");
  thread_ = std::thread([this] { serve(); });
}

CannedHttpServer::~CannedHttpServer() {
  stopping_ = true;
  thread_.join();
  if (!socketPath_.empty()) ::unlink(socketPath_.c_str());
}

void CannedHttpServer::answer(const std::string& methodAndPath, Answer answer) {
  const std::lock_guard lock(mutex_);
  answers_[methodAndPath] = std::move(answer);
}

std::vector<std::string> CannedHttpServer::requests() const {
  const std::lock_guard lock(mutex_);
  return requests_;
}

void CannedHttpServer::serve() {
  while (!stopping_) {
    pollfd waiting{listener_.get(), POLLIN, 0};
    if (::poll(&waiting, 1, 50) <= 0) continue;
    const int client = ::accept4(listener_.get(), nullptr, nullptr, SOCK_CLOEXEC);
    if (client >= 0) handle(client);
  }
}

void CannedHttpServer::handle(int client) {
  UniqueFd connection(client);
  std::string request;
  char buffer[4096];
  while (request.find("\r\n\r\n") == std::string::npos) {
    pollfd readable{client, POLLIN, 0};
    if (::poll(&readable, 1, 2000) <= 0) return;
    const ssize_t count = ::read(client, buffer, sizeof buffer);
    if (count <= 0) return;
    request.append(buffer, static_cast<std::size_t>(count));
  }
  const std::string line = request.substr(0, request.find("\r\n"));
  const std::string methodAndPath = line.substr(0, line.rfind(' '));
  Answer answer{404, R"({"message":"page not found"})", false};
  {
    const std::lock_guard lock(mutex_);
    requests_.push_back(methodAndPath);
    if (const auto found = answers_.find(methodAndPath); found != answers_.end()) answer = found->second;
    if (answer.hang) {
      hung_.push_back(std::move(connection));
      return;
    }
  }
  const std::string response =
      "HTTP/1.1 " + std::to_string(answer.status) + " " + reasonOf(answer.status) +
      "\r\nContent-Type: application/json\r\nContent-Length: " + std::to_string(answer.body.size()) +
      "\r\nConnection: close\r\n\r\n" + answer.body;
  for (std::size_t sent = 0; sent < response.size();) {
    const ssize_t count = ::write(client, response.data() + sent, response.size() - sent);
    if (count <= 0) return;
    sent += static_cast<std::size_t>(count);
  }
}

}  // namespace tw::test
