#pragma once

#include <chrono>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "support/fake_home.h"
#include "support/service_process.h"

namespace tw::test {

// A Docker engine of its own for one test: dockerd with its data root, exec root and
// socket in a fresh, short temporary folder (Unix socket paths are limited to 108 bytes),
// no bridge and no firewall rules. It is stopped through its own process (never another
// dockerd), its leftover mounts are detached and its folder removed when the object goes.
class DockerEngine {
 public:
  // Nothing, with `whyNot` filled in, when dockerd is missing, we are not root, or the
  // engine does not come up.
  [[nodiscard]] static std::unique_ptr<DockerEngine> start(std::string& whyNot);
  ~DockerEngine();
  DockerEngine(const DockerEngine&) = delete;
  DockerEngine& operator=(const DockerEngine&) = delete;

  [[nodiscard]] const std::string& socket() const { return socket_; }
  [[nodiscard]] std::string host() const { return "unix://" + socket_; }

  // The Debian docker CLI against this engine (extra environment on top of ours).
  RunResult run(const std::vector<std::string>& arguments,
                const std::map<std::string, std::optional<std::string>>& environment = {}) const;
  // The same, failing the test when it exits non-zero; its standard output, trimmed.
  std::string docker(const std::vector<std::string>& arguments,
                     const std::map<std::string, std::optional<std::string>>& environment = {}) const;

  // An image holding busybox-static and nothing else, made without a registry.
  void importBusybox(const std::string& tag) const;
  // Builds `tag` from a Dockerfile and files written into a fresh context folder: with
  // BuildKit (which fills the build cache) or the classic builder.
  std::string build(const std::string& tag, const std::string& dockerfile,
                    const std::map<std::string, std::string>& files, bool buildKit = false) const;
  // The full id of a container or image.
  [[nodiscard]] std::string idOf(const std::string& name) const;

  // Stops the engine, records in its files that `container` stopped `ago` earlier, and
  // starts it again.
  void backdateStop(const std::string& container, std::chrono::hours ago);

 private:
  DockerEngine() = default;
  bool launch(std::string& whyNot);
  void shutDown();

  std::string folder_;
  std::string socket_;
  std::unique_ptr<ServiceProcess> daemon_;
  mutable int contexts_ = 0;
};

// A size as docker prints it ("7.13MB", "3B", "1.982kB") in bytes; -1 when it is not one.
[[nodiscard]] std::int64_t dockerHumanSize(const std::string& text);

}  // namespace tw::test
