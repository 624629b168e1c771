#pragma once

#include <chrono>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace tw::test {

// Writes a Hugging Face hub cache the way huggingface_hub lays it out: one folder per
// repository ("models--org--name") with blobs/<hash>, refs/<name> holding a commit, and
// snapshots/<commit>/<file> as relative links into the blobs.
class HubCacheBuilder {
 public:
  explicit HubCacheBuilder(std::string hub) : hub_(std::move(hub)) {}

  [[nodiscard]] const std::string& hub() const { return hub_; }
  // "models--org--name" for ("model", "org/name").
  [[nodiscard]] std::string repoFolder(const std::string& type, const std::string& id) const;

  // A blob of `size` bytes in a repository's blobs folder; returns its hash (the file name).
  std::string blob(const std::string& repo, std::int64_t size, char fill);
  // A revision whose files link to blobs: relative file name -> (repository folder, hash).
  // The link leads into another repository's blobs when that folder is not `repo`.
  void revision(const std::string& repo, const std::string& commit,
                const std::map<std::string, std::pair<std::string, std::string>>& files);
  void ref(const std::string& repo, const std::string& name, const std::string& commit);
  // An unfinished download: blobs/<hash>.incomplete.
  std::string incomplete(const std::string& repo, std::int64_t size);

 private:
  std::string hub_;
  int counter_ = 0;
};

// Writes an Ollama store: blobs/sha256-<hex> and manifests/<registry>/<namespace>/<model>/<tag>
// naming a config and layers by digest.
class OllamaStoreBuilder {
 public:
  explicit OllamaStoreBuilder(std::string folder) : folder_(std::move(folder)) {}

  [[nodiscard]] const std::string& folder() const { return folder_; }
  // A blob of `size` bytes; returns its digest hex.
  std::string blob(std::int64_t size, char fill);
  // "registry.ollama.ai/library/llama3/latest" naming a config and layers (digest hexes).
  std::string manifest(const std::string& relative, const std::string& config, const std::vector<std::string>& layers);
  [[nodiscard]] std::string blobPath(const std::string& hex) const { return folder_ + "/blobs/sha256-" + hex; }

 private:
  std::string folder_;
  int counter_ = 0;
};

// A 64-digit hex name that differs for every (salt, counter).
[[nodiscard]] std::string fakeDigest(const std::string& salt, int counter);

// The blocks a file takes (a link is not followed), in bytes.
[[nodiscard]] std::int64_t blocksOf(const std::string& path);
// The links below a folder that lead nowhere: a model that lost a file.
[[nodiscard]] std::vector<std::string> brokenLinksBelow(const std::string& folder);
// "model: blob" for every blob an Ollama manifest names that is not in the store.
[[nodiscard]] std::vector<std::string> missingLayers(const std::string& ollamaFolder);

// Sets a file's access and modification times `ago` before now, without following a link.
void setTimesAgo(const std::string& path, std::chrono::hours ago);

}  // namespace tw::test
