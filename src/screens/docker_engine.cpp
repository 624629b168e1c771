#include <sys/stat.h>
#include <unistd.h>

#include "core/concurrent.h"
#include "core/local_http.h"
#include "fs/trashinfo_writer.h"
#include "screens/docker.h"

namespace tw {
namespace {

LocalEndpoint endpointOf(const DockerDeep::Engine& engine) { return {engine.socket, "http://localhost"}; }

bool isSocket(const std::string& path) {
  struct stat info {};
  return ::stat(path.c_str(), &info) == 0 && S_ISSOCK(info.st_mode);
}

DockerDeep::Failure unreachableReason(const DockerDeep::Engine& engine, const HttpResponse& ping) {
  const std::string where = " at " + engine.socket;
  const bool absent = !isSocket(engine.socket);
  if (absent || ping.unreachable()) return {engine.name() + " isn't running: nothing answers" + where + ".", true};
  if (::access(engine.socket.c_str(), R_OK | W_OK) != 0) {
    std::string reason = engine.name() + " is running, but your account may not use its socket" + where + ".";
    if (engine.kind == DockerDeep::Engine::Kind::docker) {
      reason += " Add yourself to the docker group (`sudo usermod -aG docker $USER`) and log in again.";
    }
    return {reason};
  }
  if (ping.timedOut()) return {engine.name() + " didn't answer" + where + " in time; it may be starting or stuck."};
  if (ping.error) return {engine.name() + " couldn't be reached" + where + ": " + ping.error.message() + "."};
  return {engine.name() + " answered" + where + " with status " + std::to_string(ping.status) + "."};
}

// When each stopped container stopped; containers whose answer says nothing are left out.
std::map<std::string, Date> stoppedDates(const DockerDeep::Engine& engine, const DockerUsage& usage,
                                         std::stop_token stop) {
  std::vector<const DockerUsage::Container*> stopped;
  for (const auto& container : usage.containers) {
    if (container.stopped()) stopped.push_back(&container);
  }
  std::vector<std::optional<Date>> dates(stopped.size());
  concurrentPerform(stopped.size(), [&](std::size_t index) {
    const auto answer =
        LocalHttp::request(endpointOf(engine), "GET", "/containers/" + percentEncoded(stopped[index]->id) + "/json",
                           DockerDeep::inspectTimeout, stop);
    if (answer.succeeded()) dates[index] = containerFinishedAt(answer.body);
  });
  std::map<std::string, Date> result;
  for (std::size_t index = 0; index < stopped.size(); ++index) {
    const auto& container = *stopped[index];
    // A container that never ran has no stop date; it has been idle since it was made.
    const auto date = dates[index] ? dates[index] : (container.state == "created" ? container.created : std::nullopt);
    if (date) result.emplace(container.id, *date);
  }
  return result;
}

// Podman's disk-use answer cuts tags short; its image list has them whole.
void completeTags(const DockerDeep::Engine& engine, DockerUsage& usage, std::stop_token stop) {
  if (engine.kind != DockerDeep::Engine::Kind::podman || usage.images.empty()) return;
  const auto answer = LocalHttp::request(endpointOf(engine), "GET", "/images/json", DockerDeep::inspectTimeout, stop);
  if (!answer.succeeded()) return;
  const auto tags = imageTags(answer.body);
  for (auto& image : usage.images) {
    const auto found = tags.find(image.id.starts_with("sha256:") ? image.id.substr(7) : image.id);
    if (found != tags.end()) image.tags = found->second;
  }
}

}  // namespace

std::string DockerDeep::Engine::name() const { return kind == Kind::docker ? "Docker" : "Podman"; }
std::string DockerDeep::Engine::identifier() const { return kind == Kind::docker ? "docker" : "podman"; }
std::string DockerDeep::Engine::cliName() const { return identifier(); }

std::optional<DockerDeep::Snapshot> DockerDeep::read(const Engine& engine, Failure& failure, std::stop_token stop) {
  const auto ping = LocalHttp::request(endpointOf(engine), "GET", "/_ping", pingTimeout, stop);
  if (!ping.succeeded()) {
    failure = unreachableReason(engine, ping);
    return std::nullopt;
  }
  // "verbose" asks engines with the newer answer for their item lists; older ones ignore it.
  const auto answer = LocalHttp::request(endpointOf(engine), "GET", "/system/df?verbose=1", usageTimeout, stop);
  if (!answer.succeeded()) {
    failure.sentence = answer.timedOut()
                           ? engine.name() + " took too long to report its disk use."
                           : engine.name() + " couldn't report its disk use: " +
                                 (answer.error ? answer.error.message() : engineErrorMessage(answer.body));
    return std::nullopt;
  }
  auto usage = DockerUsage::parse(answer.body);
  if (!usage) {
    failure.sentence = engine.name() + " answered, but its disk-use report couldn't be read.";
    return std::nullopt;
  }
  completeTags(engine, *usage, stop);
  Snapshot snapshot;
  snapshot.stoppedAt = stoppedDates(engine, *usage, stop);
  snapshot.usage = std::move(*usage);
  return snapshot;
}

}  // namespace tw
