#include <nlohmann/json.hpp>

#include "core/format.h"
#include "core/local_http.h"
#include "fs/path.h"
#include "screens/model_files.h"
#include "screens/model_groups.h"
#include "screens/ollama_store.h"
#include "screens/screen_order.h"

namespace tw {
namespace {

const char* const separator = " \u00b7 ";
constexpr double serverTimeout = 0.5;  // a local server answers at once, or isn't running

std::string withoutAlgorithm(const std::string& digest) {
  return digest.starts_with("sha256:") ? digest.substr(7) : digest;
}

bool isLoopback(const std::string& host) { return host == "localhost" || host == "::1" || host.starts_with("127."); }

// Reads the store again when it runs: a model pulled since the list was made may name
// the same blobs, and those stay. The deletions pass the guard of `context`.
DevAction ownModelRemoval(std::string folder, std::string manifestPath, const Context& context) {
  return DevAction::custom([=, context = context.withStop({})]() -> std::optional<std::string> {
    const OllamaStore store = OllamaStore::read(folder);
    const auto model = store.modelAt(manifestPath);
    if (!model) return std::nullopt;  // already gone
    return DevAction::removePaths(store.removalPaths(*model)).perform(context).error();
  });
}

DevAction orphanRemoval(std::string folder, std::string blobPath, const Context& context) {
  return DevAction::custom([=, context = context.withStop({})]() -> std::optional<std::string> {
    const OllamaStore store = OllamaStore::read(folder);
    for (const std::size_t orphan : store.orphans()) {
      if (store.blobs()[orphan].path == blobPath) return DevAction::removePaths({blobPath}).perform(context).error();
    }
    // Gone already, or a manifest names it now: either way it stays as it is.
    return std::nullopt;
  });
}

// What removing the model frees: its manifest and the blobs no other model names.
std::int64_t freeableOf(const OllamaStore& store, std::size_t index) {
  const auto& model = store.models()[index];
  std::int64_t total = model.manifestFreeable;
  for (const std::size_t blob : model.blobs) {
    if (store.blobs()[blob].models.size() == 1) total += store.blobs()[blob].freeable;
  }
  return total;
}

bool servedAsIs(const std::optional<OllamaServer>& server, const OllamaStore::Model& model) {
  if (!server) return false;
  const auto found = server->digests.find(model.name);
  return found != server->digests.end() && withoutAlgorithm(found->second) == withoutAlgorithm(model.digest);
}

DevItem modelItem(const OllamaStore& store, std::size_t index, const std::optional<OllamaServer>& server, Date now,
                  const Context& context) {
  const auto& model = store.models()[index];
  std::size_t shared = 0;
  std::int64_t size = model.manifestSize;
  for (const std::size_t blob : model.blobs) {
    size += store.blobs()[blob].size;
    if (store.blobs()[blob].models.size() > 1) ++shared;
  }
  const auto used = store.lastUsed(index);
  std::string layers = std::to_string(model.blobs.size()) + " blobs";
  if (shared > 0) layers += ", " + std::to_string(shared) + " shared with other models";
  DevItem item;
  item.id = model.manifestPath;
  item.name = model.name;
  item.detail = lastUsedText(used, now) + separator + layers + separator + tildePath(store.folder(), context.home);
  item.size = size;
  item.freeable = freeableOf(store, index);  // a shared layer stays, so it frees nothing
  if (shared > 0) item.badges.push_back({"shares layers", Badge::Tone::info});
  if (!model.missing.empty()) item.badges.push_back({"blobs missing", Badge::Tone::warn});
  item.selected = false;  // a whole model is the user's call
  item.action = servedAsIs(server, model) ? DevAction::commands({{server->cli, "rm", model.name}})
                                          : ownModelRemoval(store.folder(), model.manifestPath, context);
  item.revealPath = model.manifestPath;
  item.restoreHint = "ollama pull " + model.name;
  return item;
}

DevItem orphanItem(const OllamaStore& store, std::size_t index, Date now, const Context& context) {
  const auto& blob = store.blobs()[index];
  // A pull that is running writes to its blobs: that counts as use.
  const auto touched = std::max(blob.used, blob.modified);
  DevItem item;
  item.id = blob.path;
  item.name = (blob.partial ? "Unfinished download " : "Unused blob ") + blob.name.substr(7, 12);
  item.detail = (touched ? "last touched " + ago(*touched, now) : std::string("last use unknown")) + separator +
                tildePath(blob.path, context.home);
  item.size = blob.size;
  item.freeable = blob.freeable;
  item.badges.push_back({blob.partial ? "incomplete" : "orphaned", Badge::Tone::warn});
  item.selected = !usedRecently(touched, now);
  item.action = orphanRemoval(store.folder(), blob.path, context);
  item.revealPath = blob.path;
  return item;
}

}  // namespace

std::optional<std::string> OllamaServer::baseAddress(const Environment& env) {
  // Ollama's own reading of OLLAMA_HOST: "[scheme://]host[:port][/path]", each part optional.
  std::string value;
  if (const auto found = env.find("OLLAMA_HOST"); found != env.end()) value = found->second;
  if (value.starts_with("https://")) return std::nullopt;
  if (value.starts_with("http://")) value = value.substr(7);
  value = value.substr(0, value.find('/'));
  std::string host = value;
  std::string port;
  if (value.starts_with('[')) {
    const std::size_t close = value.find(']');
    if (close == std::string::npos) return std::nullopt;
    host = value.substr(1, close - 1);
    if (close + 1 < value.size() && value[close + 1] == ':') port = value.substr(close + 2);
  } else if (const std::size_t colon = value.rfind(':'); colon != std::string::npos) {
    host = value.substr(0, colon);
    port = value.substr(colon + 1);
  }
  if (host.empty() || host == "0.0.0.0") host = "127.0.0.1";
  if (port.empty()) port = "11434";
  if (!isLoopback(host)) return std::nullopt;  // a server elsewhere holds other files
  if (host == "::1") host = "[::1]";
  return "http://" + host + ":" + port;
}

std::optional<OllamaServer> OllamaServer::find(const Environment& env, const std::optional<std::string>& cli,
                                               std::stop_token stop) {
  if (!cli) return std::nullopt;
  const auto base = baseAddress(env);
  if (!base) return std::nullopt;
  const auto answer = LocalHttp::request({"", *base}, "GET", "/api/tags", serverTimeout, std::move(stop));
  if (!answer.succeeded()) return std::nullopt;
  const auto root = nlohmann::json::parse(answer.body, nullptr, false);
  if (root.is_discarded() || !root.is_object()) return std::nullopt;
  OllamaServer server;
  server.cli = *cli;
  if (const auto models = root.find("models"); models != root.end() && models->is_array()) {
    for (const auto& model : *models) {
      if (!model.is_object()) continue;
      const auto name = model.find("name");
      const auto digest = model.find("digest");
      if (name != model.end() && name->is_string() && digest != model.end() && digest->is_string()) {
        server.digests.emplace(name->get<std::string>(), digest->get<std::string>());
      }
    }
  }
  return server;
}

std::vector<DevGroupPtr> ollamaGroups(const std::string& folder, const std::optional<OllamaServer>& server, Date now,
                                      const Context& context) {
  const OllamaStore store = OllamaStore::read(folder, context.stop);

  std::vector<DevGroupPtr> groups;
  std::vector<DevItem> models;
  std::optional<Date> lastActive;
  for (std::size_t index = 0; index < store.models().size(); ++index) {
    models.push_back(modelItem(store, index, server, now, context));
    lastActive = std::max(lastActive, store.lastUsed(index));
  }
  if (!models.empty()) {
    sortByFreeable(models);
    auto group = std::make_shared<DevGroup>("ollama:" + folder, "Ollama", tildePath(folder, context.home), "brain");
    group->lastActive = lastActive;
    group->setItems(std::move(models));
    groups.push_back(std::move(group));
  }
  std::vector<DevItem> orphans;
  for (const std::size_t index : store.orphans()) orphans.push_back(orphanItem(store, index, now, context));
  if (!orphans.empty()) {
    sortByFreeable(orphans);
    auto group = std::make_shared<DevGroup>("ollama-orphans:" + folder, "Ollama orphaned downloads",
                                            "Blobs no model names: left by removed models or cut-short pulls", "brain");
    group->setItems(std::move(orphans));
    groups.push_back(std::move(group));
  }
  return groups;
}

}  // namespace tw
