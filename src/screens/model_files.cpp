#include "screens/model_files.h"

#include <sys/stat.h>

#include "core/format.h"
#include "core/measure.h"
#include "fs/path.h"
#include "fs/usage.h"
#include "screens/ai_models.h"
#include "screens/screen_order.h"

namespace tw {
namespace {

using Store = ModelLocations::Store;

constexpr int deepestModelFolder = 16;

void newestBelow(const std::string& folder, int depth, std::optional<Date>& newest) {
  if (depth > deepestModelFolder) return;
  const auto entries = listFolder(folder);
  if (!entries) return;
  for (const auto& entry : *entries) {
    const std::string path = joinPath(folder, entry.name);
    if (entry.isDir) {
      newestBelow(path, depth + 1, newest);
    } else if (const auto used = lastUsed(path); used && (!newest || *used > *newest)) {
      newest = used;
    }
  }
}

struct StoreText {
  std::string id;
  std::string title;
  std::string restoreHint;
};

StoreText textOf(Store store) {
  switch (store) {
    case Store::lmStudio:
      return {"lm-studio", "LM Studio", "Download it again in LM Studio"};
    case Store::torchHub:
      return {"torch-hub", "PyTorch hub", "torch.hub downloads it again the next time it is loaded"};
    case Store::whisper:
      return {"whisper", "Whisper", "Whisper downloads it again the next time the model is loaded"};
    case Store::gpt4all:
      return {"gpt4all", "GPT4All", "Download it again in GPT4All"};
    case Store::huggingFace:
    case Store::ollama:
      break;
  }
  return {"models", "Models", ""};
}

bool hidden(const std::string& name) { return name.starts_with('.'); }

// The (path, name) of each model a store folder holds.
std::vector<std::pair<std::string, std::string>> modelsIn(Store store, const std::string& folder) {
  std::vector<std::pair<std::string, std::string>> models;
  const auto entries = listFolder(folder);
  if (!entries) return models;
  for (const auto& entry : *entries) {
    if (hidden(entry.name)) continue;
    const std::string path = joinPath(folder, entry.name);
    switch (store) {
      case Store::lmStudio:  // models/<publisher>/<model>
        if (!entry.isDir) {
          models.emplace_back(path, entry.name);
        } else if (const auto inner = listFolder(path)) {
          for (const auto& model : *inner) {
            if (!hidden(model.name)) models.emplace_back(joinPath(path, model.name), entry.name + "/" + model.name);
          }
        }
        break;
      case Store::torchHub:  // hub/<owner_repo_branch>/ and hub/checkpoints/<file>
        if (entry.isDir && entry.name == "checkpoints") {
          if (const auto files = listFolder(path)) {
            for (const auto& file : *files) {
              if (!hidden(file.name)) models.emplace_back(joinPath(path, file.name), file.name);
            }
          }
        } else if (entry.isDir) {
          models.emplace_back(path, entry.name);
        }
        break;
      case Store::whisper:
        if (!entry.isDir && pathExtension(entry.name) == "pt") models.emplace_back(path, entry.name);
        break;
      case Store::gpt4all: {
        const std::string extension = pathExtension(entry.name);
        if (!entry.isDir && (extension == "gguf" || extension == "bin")) models.emplace_back(path, entry.name);
        break;
      }
      case Store::huggingFace:
      case Store::ollama:
        break;
    }
  }
  return models;
}

}  // namespace

std::optional<Date> newestUse(const std::string& path) {
  struct stat info {};
  if (::lstat(path.c_str(), &info) != 0) return std::nullopt;
  if (!S_ISDIR(info.st_mode)) return lastUsed(path);
  std::optional<Date> newest;
  newestBelow(path, 0, newest);
  return newest;
}

bool usedRecently(const std::optional<Date>& used, Date now) { return !used || now - *used < AIModels::recentUse; }

std::string lastUsedText(const std::optional<Date>& used, Date now) {
  return used ? "last used " + ago(*used, now) : "last use unknown";
}

DevGroupPtr modelFolderGroup(Store store, const std::string& folder, Date now, const std::string& home) {
  const auto models = modelsIn(store, folder);
  if (models.empty()) return nullptr;
  std::vector<std::string> paths;
  for (const auto& model : models) paths.push_back(model.first);
  const auto usage = measure(paths);
  const StoreText text = textOf(store);
  std::vector<DevItem> items;
  std::optional<Date> groupUse;
  for (const auto& [path, name] : models) {
    const auto used = newestUse(path);
    if (used && (!groupUse || *used > *groupUse)) groupUse = used;
    DevItem item;
    item.id = path;
    item.name = name;
    item.detail = lastUsedText(used, now) + " \u00b7 " + tildePath(path, home);
    item.size = usage.at(path).size;
    item.freeable = usage.at(path).freeable;
    item.selected = false;  // a whole model is the user's call
    item.action = DevAction::removePaths({path});
    item.revealPath = path;
    item.restoreHint = text.restoreHint;
    items.push_back(std::move(item));
  }
  sortByFreeable(items);
  auto group = std::make_shared<DevGroup>(text.id + ":" + folder, text.title, tildePath(folder, home), "brain");
  group->lastActive = groupUse;
  group->setItems(std::move(items));
  return group;
}

}  // namespace tw
