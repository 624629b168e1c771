#include "screens/docker_actions.h"

#include <nlohmann/json.hpp>

#include "core/local_http.h"
#include "fs/trashinfo_writer.h"

namespace tw {

std::vector<std::string> DockerRemover::tool(std::vector<std::string> arguments) const {
  // Both tools take the engine address before the command; podman's --url implies --remote.
  std::vector<std::string> command{*cli_, engine_.kind == DockerDeep::Engine::Kind::docker ? "--host" : "--url",
                                   "unix://" + engine_.socket};
  command.insert(command.end(), arguments.begin(), arguments.end());
  return command;
}

DevAction DockerRemover::api(std::vector<std::pair<std::string, std::string>> requests) const {
  return DevAction::custom([socket = engine_.socket, name = engine_.name(),
                            requests = std::move(requests)]() -> std::optional<std::string> {
    for (const auto& [method, path] : requests) {
      const auto answer = LocalHttp::request({socket, "http://localhost"}, method, path, DockerDeep::removalTimeout);
      if (answer.error) return name + " couldn't be reached: " + answer.error.message();
      // An object that is already gone is as good as removed.
      if (!answer.succeeded() && answer.status != 404) return engineErrorMessage(answer.body);
    }
    return std::nullopt;
  });
}

DevAction DockerRemover::image(const DockerUsage::Image& image) const {
  // Docker deletes an image when its last tag goes (by id it refuses one with several
  // repositories); Podman deletes an image with all its names when given the id.
  const bool byId = image.tags.empty() || engine_.kind == DockerDeep::Engine::Kind::podman;
  const std::vector<std::string> references = byId ? std::vector<std::string>{image.id} : image.tags;
  if (cli_) {
    std::vector<std::string> arguments{"image", "rm"};
    arguments.insert(arguments.end(), references.begin(), references.end());
    return DevAction::commands({tool(std::move(arguments))});
  }
  std::vector<std::pair<std::string, std::string>> requests;
  for (const auto& reference : references) requests.emplace_back("DELETE", "/images/" + percentEncoded(reference));
  return api(std::move(requests));
}

DevAction DockerRemover::container(const std::string& id) const {
  if (cli_) return DevAction::commands({tool({"container", "rm", id})});
  return api({{"DELETE", "/containers/" + percentEncoded(id)}});
}

DevAction DockerRemover::buildCache(const std::string& id) const {
  if (cli_) return DevAction::commands({tool({"builder", "prune", "--force", "--filter", "id=" + id})});
  const std::string filters = nlohmann::json{{"id", {id}}}.dump();
  return api({{"POST", "/build/prune?filters=" + percentEncoded(filters)}});
}

DevAction DockerRemover::volume(const std::string& name) const {
  if (cli_) return DevAction::commands({tool({"volume", "rm", name})});
  return api({{"DELETE", "/volumes/" + percentEncoded(name)}});
}

}  // namespace tw
