#include "screens/ai_models.h"

#include <set>

#include "core/shell.h"
#include "fs/file_io.h"
#include "screens/location_path.h"
#include "screens/model_files.h"
#include "screens/model_groups.h"
#include "screens/screen_order.h"

namespace tw {
namespace {

using Store = ModelLocations::Store;

struct Folder {
  Store store;
  std::string path;
};

// The store folders that exist, each once however many places name it.
std::vector<Folder> existingFolders(const ModelLocations& locations, const std::string& home, const Environment& env) {
  std::vector<Folder> folders;
  std::set<std::string> seen;
  for (const auto& place : locations.places) {
    for (const auto& candidate : place.candidates) {
      const auto path = resolveLocation(candidate, home, env);
      if (!path) continue;  // its variable is unset: the next candidate decides
      const auto real = resolvedPath(*path);
      if (real && isFolder(*real) && seen.insert(*real).second) folders.push_back({place.store, *path});
      break;
    }
  }
  return folders;
}

}  // namespace

ProviderResult AIModels::scan(const ModelLocations& locations, const Context& context) {
  const Date now = std::chrono::system_clock::now();
  std::vector<DevGroupPtr> groups;
  std::optional<std::optional<OllamaServer>> server;  // asked once, when a store needs it
  for (const auto& folder : existingFolders(locations, context.home, context.env)) {
    if (context.stopRequested()) break;
    switch (folder.store) {
      case Store::huggingFace:
        if (auto group = huggingFaceGroup(folder.path, Shell::which("hf", context), now, context)) {
          groups.push_back(group);
        }
        break;
      case Store::ollama:
        if (!server) server = OllamaServer::find(context.env, Shell::which("ollama", context), context.stop);
        for (auto& group : ollamaGroups(folder.path, *server, now, context)) groups.push_back(std::move(group));
        break;
      default:
        if (auto group = modelFolderGroup(folder.store, folder.path, now, context.home)) groups.push_back(group);
        break;
    }
  }
  if (groups.empty()) {
    return {{},
            "No local models found in the Hugging Face, Ollama, LM Studio, PyTorch hub, Whisper or GPT4All folders."};
  }
  sortByTotal(groups);
  return {std::move(groups), std::nullopt};
}

ProviderResult AIModels::scan(const Context& context) { return scan(platformModelLocations(), context); }

}  // namespace tw
