#include "screens/ollama_store.h"

#include <algorithm>
#include <map>
#include <nlohmann/json.hpp>

#include "core/crypto_library.h"
#include "core/measure.h"
#include "core/text.h"
#include "fs/path.h"
#include "fs/regular_file.h"
#include "fs/usage.h"
#include "screens/model_files.h"

namespace tw {
namespace {

constexpr std::size_t largestManifest = 1 << 20;
constexpr int manifestDepth = 4;  // registry / namespace / model / tag

bool isHex(std::string_view text) {
  return std::all_of(text.begin(), text.end(), [](char c) { return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f'); });
}

// "sha256:<64 hex>" -> "sha256-<64 hex>"; anything else (a path, say) names no blob.
std::optional<std::string> blobName(const nlohmann::json& descriptor) {
  if (!descriptor.is_object()) return std::nullopt;
  const auto digest = descriptor.find("digest");
  if (digest == descriptor.end() || !digest->is_string()) return std::nullopt;
  const std::string text = digest->get<std::string>();
  if (!text.starts_with("sha256:") || text.size() != 7 + 64 || !isHex(std::string_view(text).substr(7))) {
    return std::nullopt;
  }
  return "sha256-" + text.substr(7);
}

std::optional<std::vector<std::string>> blobsNamedBy(const std::string& manifest) {
  const auto root = nlohmann::json::parse(manifest, nullptr, false);
  if (root.is_discarded() || !root.is_object()) return std::nullopt;
  std::vector<std::string> names;
  if (const auto config = root.find("config"); config != root.end()) {
    if (auto name = blobName(*config)) names.push_back(std::move(*name));
  }
  if (const auto layers = root.find("layers"); layers != root.end() && layers->is_array()) {
    for (const auto& layer : *layers) {
      if (auto name = blobName(layer)) names.push_back(std::move(*name));
    }
  }
  if (names.empty()) return std::nullopt;
  std::sort(names.begin(), names.end());
  names.erase(std::unique(names.begin(), names.end()), names.end());
  return names;
}

std::string sha256Digest(const std::string& bytes) {
  const auto digest = sha256Of(bytes);
  if (!digest) return {};
  static constexpr char hex[] = "0123456789abcdef";
  std::string text = "sha256:";
  for (const unsigned char byte : *digest) {
    text += hex[byte >> 4];
    text += hex[byte & 0x0F];
  }
  return text;
}

std::int64_t freeableOf(const FolderEntry& entry) { return entry.links < 2 ? entry.privateSize : 0; }

// Every tag file exactly `manifestDepth` levels below `folder`, with its path relative to it.
void collectManifests(const std::string& folder, const std::string& relative, int depth,
                      std::vector<std::pair<std::string, FolderEntry>>& found) {
  const auto entries = listFolder(folder);
  if (!entries) return;
  for (const auto& entry : *entries) {
    const std::string path = relative.empty() ? entry.name : relative + "/" + entry.name;
    if (entry.isDir && depth + 1 < manifestDepth) {
      collectManifests(joinPath(folder, entry.name), path, depth + 1, found);
    } else if (!entry.isDir && depth + 1 == manifestDepth) {
      found.emplace_back(path, entry);
    }
  }
}

std::optional<Date> newer(const std::optional<Date>& a, const std::optional<Date>& b) {
  if (!a) return b;
  if (!b) return a;
  return std::max(*a, *b);
}

}  // namespace

std::string OllamaStore::displayName(const std::string& relative) {
  std::vector<std::string> parts;
  for (std::size_t start = 0;;) {
    const std::size_t slash = relative.find('/', start);
    parts.push_back(relative.substr(start, slash == std::string::npos ? std::string::npos : slash - start));
    if (slash == std::string::npos) break;
    start = slash + 1;
  }
  if (parts.size() != manifestDepth) return validUtf8(relative);
  std::string name = parts[2] + ":" + parts[3];
  if (parts[0] != "registry.ollama.ai") return validUtf8(parts[0] + "/" + parts[1] + "/" + name);
  if (parts[1] != "library") return validUtf8(parts[1] + "/" + name);
  return validUtf8(name);
}

OllamaStore OllamaStore::read(const std::string& folder, std::stop_token stop) {
  OllamaStore store;
  store.folder_ = folder;
  std::map<std::string, std::size_t> blobAt;
  const std::string blobFolder = folder + "/blobs";
  if (const auto entries = listFolder(blobFolder)) {
    for (const auto& entry : *entries) {
      if (entry.isDir || !entry.name.starts_with("sha256-")) continue;
      Blob blob;
      blob.name = entry.name;
      blob.path = joinPath(blobFolder, entry.name);
      blob.partial = entry.name.find("-partial") != std::string::npos;
      blob.size = entry.size;
      blob.freeable = freeableOf(entry);
      blob.used = tw::lastUsed(blob.path);
      blobAt.emplace(blob.name, store.blobs_.size());
      store.blobs_.push_back(std::move(blob));
    }
  }
  std::vector<std::pair<std::string, FolderEntry>> manifests;
  collectManifests(folder + "/manifests", "", 0, manifests);
  std::sort(manifests.begin(), manifests.end(), [](const auto& a, const auto& b) { return a.first < b.first; });
  for (const auto& [relative, entry] : manifests) {
    if (stop.stop_requested()) break;
    Model model;
    model.manifestPath = folder + "/manifests/" + relative;
    model.manifestSize = entry.size;
    model.manifestFreeable = freeableOf(entry);
    const auto contents = readRegularFile(model.manifestPath, largestManifest);
    if (!contents) continue;
    const auto names = blobsNamedBy(*contents);
    if (!names) continue;
    model.name = displayName(relative);
    model.digest = sha256Digest(*contents);
    const std::size_t index = store.models_.size();
    for (const auto& name : *names) {
      const auto found = blobAt.find(name);
      if (found == blobAt.end()) {
        model.missing.push_back(name);
        continue;
      }
      model.blobs.push_back(found->second);
      store.blobs_[found->second].models.push_back(index);
    }
    store.models_.push_back(std::move(model));
  }
  // Whether a blob no manifest names is still being written decides whether it is offered.
  for (auto& blob : store.blobs_) {
    if (blob.models.empty()) blob.modified = modificationDate(blob.path);
  }
  return store;
}

std::optional<std::size_t> OllamaStore::modelAt(const std::string& manifestPath) const {
  for (std::size_t index = 0; index < models_.size(); ++index) {
    if (models_[index].manifestPath == manifestPath) return index;
  }
  return std::nullopt;
}

std::vector<std::string> OllamaStore::removalPaths(std::size_t model) const {
  std::vector<std::string> paths{models_.at(model).manifestPath};
  for (const std::size_t index : models_[model].blobs) {
    if (blobs_[index].models.size() == 1) paths.push_back(blobs_[index].path);
  }
  return paths;
}

std::vector<std::size_t> OllamaStore::orphans() const {
  std::vector<std::size_t> found;
  for (std::size_t index = 0; index < blobs_.size(); ++index) {
    if (blobs_[index].models.empty()) found.push_back(index);
  }
  return found;
}

std::optional<Date> OllamaStore::lastUsed(std::size_t model) const {
  std::optional<Date> exclusive;
  std::optional<Date> any;
  for (const std::size_t index : models_.at(model).blobs) {
    any = newer(any, blobs_[index].used);
    if (blobs_[index].models.size() == 1) exclusive = newer(exclusive, blobs_[index].used);
  }
  return exclusive ? exclusive : any;
}

}  // namespace tw
