#include "support/model_stores.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <filesystem>
#include <functional>
#include <nlohmann/json.hpp>

#include "screens/ollama_store.h"
#include "support/fake_home.h"

namespace tw::test {
namespace {

std::string folderName(const std::string& type, const std::string& id) {
  std::string name = type + "s--";
  for (const char c : id) name += c == '/' ? std::string("--") : std::string(1, c);
  return name;
}

}  // namespace

std::string fakeDigest(const std::string& salt, int counter) {
  static constexpr char hex[] = "0123456789abcdef";
  std::string digest;
  std::size_t state = std::hash<std::string>{}(salt + "#" + std::to_string(counter));
  while (digest.size() < 64) {
    state = state * 6364136223846793005ULL + 1442695040888963407ULL;
    digest += hex[(state >> 33) & 0xF];
  }
  return digest;
}

std::int64_t blocksOf(const std::string& path) {
  struct stat info {};
  return ::lstat(path.c_str(), &info) == 0 ? static_cast<std::int64_t>(info.st_blocks) * 512 : 0;
}

std::vector<std::string> brokenLinksBelow(const std::string& folder) {
  std::vector<std::string> broken;
  for (const auto& entry : std::filesystem::recursive_directory_iterator(folder)) {
    if (entry.is_symlink() && !std::filesystem::exists(entry.path())) broken.push_back(entry.path());
  }
  return broken;
}

std::vector<std::string> missingLayers(const std::string& ollamaFolder) {
  std::vector<std::string> missing;
  const auto store = OllamaStore::read(ollamaFolder);
  for (const auto& model : store.models()) {
    for (const auto& name : model.missing) missing.push_back(model.name + ": " + name);
  }
  return missing;
}

void setTimesAgo(const std::string& path, std::chrono::hours ago) {
  const auto then = std::chrono::system_clock::now() - ago;
  const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(then.time_since_epoch()).count();
  const timespec times[2] = {{seconds, 0}, {seconds, 0}};
  ::utimensat(AT_FDCWD, path.c_str(), times, AT_SYMLINK_NOFOLLOW);
}

std::string HubCacheBuilder::repoFolder(const std::string& type, const std::string& id) const {
  return hub_ + "/" + folderName(type, id);
}

std::string HubCacheBuilder::blob(const std::string& repo, std::int64_t size, char fill) {
  const std::string hash = fakeDigest(repo, ++counter_);
  writeFilledFile(repo + "/blobs/" + hash, size, fill);
  return hash;
}

void HubCacheBuilder::revision(const std::string& repo, const std::string& commit,
                               const std::map<std::string, std::pair<std::string, std::string>>& files) {
  namespace fs = std::filesystem;
  for (const auto& [name, blob] : files) {
    const fs::path link = fs::path(repo) / "snapshots" / commit / name;
    fs::create_directories(link.parent_path());
    const fs::path target = fs::path(blob.first) / "blobs" / blob.second;
    fs::create_symlink(fs::relative(target, link.parent_path()), link);
  }
}

void HubCacheBuilder::ref(const std::string& repo, const std::string& name, const std::string& commit) {
  writeFile(repo + "/refs/" + name, commit);
}

std::string HubCacheBuilder::incomplete(const std::string& repo, std::int64_t size) {
  const std::string path = repo + "/blobs/" + fakeDigest(repo, ++counter_) + ".incomplete";
  writeFilledFile(path, size, 'i');
  return path;
}

std::string OllamaStoreBuilder::blob(std::int64_t size, char fill) {
  const std::string hex = fakeDigest(folder_, ++counter_);
  writeFilledFile(blobPath(hex), size, fill);
  return hex;
}

std::string OllamaStoreBuilder::manifest(const std::string& relative, const std::string& config,
                                         const std::vector<std::string>& layers) {
  const auto descriptor = [](const std::string& hex, const char* type) {
    return nlohmann::json{{"mediaType", type}, {"digest", "sha256:" + hex}, {"size", 1}};
  };
  nlohmann::json manifest{{"schemaVersion", 2},
                          {"mediaType", "application/vnd.docker.distribution.manifest.v2+json"},
                          {"config", descriptor(config, "application/vnd.docker.container.image.v1+json")},
                          {"layers", nlohmann::json::array()}};
  for (const auto& layer : layers)
    manifest["layers"].push_back(descriptor(layer, "application/vnd.ollama.image.model"));
  const std::string path = folder_ + "/manifests/" + relative;
  writeFile(path, manifest.dump());
  return path;
}

}  // namespace tw::test
