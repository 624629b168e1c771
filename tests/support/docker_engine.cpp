#include "support/docker_engine.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <fstream>
#include <nlohmann/json.hpp>
#include <sstream>
#include <thread>

#include "core/date.h"
#include "core/local_http.h"
#include "core/text.h"

namespace tw::test {
namespace {

constexpr const char* debianCli = "/usr/bin/docker";
constexpr const char* busybox = "/bin/busybox";

bool installed(const std::string& program) { return runProcess({"sh", "-c", "command -v " + program}).code == 0; }

// Mount points below `folder`, deepest first.
std::vector<std::string> mountsBelow(const std::string& folder) {
  std::vector<std::string> found;
  std::ifstream table("/proc/self/mountinfo");
  std::string line;
  while (std::getline(table, line)) {
    std::istringstream fields(line);
    std::string id, parent, device, root, point;
    fields >> id >> parent >> device >> root >> point;
    if (point.starts_with(folder + "/")) found.push_back(point);
  }
  std::sort(found.begin(), found.end(), [](const std::string& a, const std::string& b) { return a.size() > b.size(); });
  return found;
}

}  // namespace

std::unique_ptr<DockerEngine> DockerEngine::start(std::string& whyNot) {
  if (::geteuid() != 0) {
    whyNot = "starting a Docker engine needs root";
    return nullptr;
  }
  if (!installed("dockerd") || ::access(debianCli, X_OK) != 0 || ::access(busybox, X_OK) != 0) {
    whyNot = "dockerd, /usr/bin/docker or /bin/busybox is missing (Debian docker.io and busybox-static)";
    return nullptr;
  }
  std::unique_ptr<DockerEngine> engine(new DockerEngine);
  engine->folder_ = makeTempFolder("twdk");
  engine->socket_ = engine->folder_ + "/sock";
  writeFile(engine->folder_ + "/daemon.json", "{}\n");
  if (!engine->launch(whyNot)) return nullptr;
  return engine;
}

bool DockerEngine::launch(std::string& whyNot) {
  const std::vector<std::string> command{"dockerd",
                                         "--data-root",
                                         folder_ + "/root",
                                         "--exec-root",
                                         folder_ + "/exec",
                                         "--host",
                                         "unix://" + socket_,
                                         "--pidfile",
                                         folder_ + "/pid",
                                         "--bridge",
                                         "none",
                                         "--iptables=false",
                                         "--shutdown-timeout",
                                         "1",
                                         "--config-file",
                                         folder_ + "/daemon.json"};
  daemon_ = ServiceProcess::start(command, folder_ + "/dockerd.log", whyNot);
  if (!daemon_) return false;
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(60);
  while (std::chrono::steady_clock::now() < deadline) {
    if (LocalHttp::request({socket_, "http://localhost"}, "GET", "/_ping", 1).succeeded()) return true;
    if (!daemon_->running()) break;
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
  }
  whyNot = "dockerd did not come up: " + daemon_->logTail();
  shutDown();
  return false;
}

void DockerEngine::shutDown() {
  if (daemon_) daemon_->stop();
  daemon_.reset();
  // Whatever the engine left mounted (layers, network namespaces) goes before the folder.
  for (const auto& point : mountsBelow(folder_)) (void)runProcess({"umount", "-l", point});
}

DockerEngine::~DockerEngine() {
  shutDown();
  removeTree(folder_);
}

RunResult DockerEngine::run(const std::vector<std::string>& arguments,
                            const std::map<std::string, std::optional<std::string>>& environment) const {
  std::vector<std::string> command{debianCli, "--host", host()};
  command.insert(command.end(), arguments.begin(), arguments.end());
  auto merged = environment;
  merged.emplace("DOCKER_CONFIG", folder_ + "/cli");
  merged.emplace("DOCKER_HOST", std::nullopt);
  merged.emplace("DOCKER_CONTEXT", std::nullopt);
  return runProcess(command, merged);
}

std::string DockerEngine::docker(const std::vector<std::string>& arguments,
                                 const std::map<std::string, std::optional<std::string>>& environment) const {
  const RunResult result = run(arguments, environment);
  std::string command = "docker";
  for (const auto& argument : arguments) command += " " + argument;
  EXPECT_EQ(result.code, 0) << command << "\n" << result.out << result.err;
  return trimmed(result.out);
}

void DockerEngine::importBusybox(const std::string& tag) const {
  const std::string root = folder_ + "/busybox-" + std::to_string(++contexts_);
  makeFolders(root + "/bin");
  std::filesystem::copy_file(busybox, root + "/bin/busybox");
  std::filesystem::create_symlink("busybox", root + "/bin/sh");
  const RunResult imported = runProcess(
      {"sh", "-c", "tar -C '" + root + "' -c . | " + debianCli + " --host '" + host() + "' import - '" + tag + "'"},
      {{"DOCKER_CONFIG", folder_ + "/cli"}});
  EXPECT_EQ(imported.code, 0) << imported.err;
}

std::string DockerEngine::build(const std::string& tag, const std::string& dockerfile,
                                const std::map<std::string, std::string>& files, bool buildKit) const {
  const std::string context = folder_ + "/context-" + std::to_string(++contexts_);
  writeFile(context + "/Dockerfile", dockerfile);
  for (const auto& [name, contents] : files) writeFile(context + "/" + name, contents);
  docker({"build", "--quiet", "--tag", tag, context}, {{"DOCKER_BUILDKIT", buildKit ? "1" : "0"}});
  return idOf(tag);
}

std::string DockerEngine::idOf(const std::string& name) const {
  return docker({"inspect", "--format", "{{.Id}}", name});
}

void DockerEngine::backdateStop(const std::string& container, std::chrono::hours ago) {
  const std::string id = idOf(container);
  shutDown();
  const std::string config = folder_ + "/root/containers/" + id + "/config.v2.json";
  auto record = nlohmann::json::parse(readFile(config));
  record["State"]["FinishedAt"] = iso8601(std::chrono::system_clock::now() - ago);
  writeFile(config, record.dump());
  std::string whyNot;
  ASSERT_TRUE(launch(whyNot)) << whyNot;
}

std::int64_t dockerHumanSize(const std::string& text) {
  static const std::pair<const char*, double> units[] = {{"kB", 1e3}, {"MB", 1e6}, {"GB", 1e9}, {"TB", 1e12}, {"B", 1}};
  for (const auto& [unit, factor] : units) {
    const std::string suffix(unit);
    if (!text.ends_with(suffix)) continue;
    const std::string number = text.substr(0, text.size() - suffix.size());
    char* end = nullptr;
    const double value = std::strtod(number.c_str(), &end);
    if (number.empty() || end != number.c_str() + number.size()) return -1;
    return static_cast<std::int64_t>(std::llround(value * factor));
  }
  return -1;
}

}  // namespace tw::test
