#pragma once

#include <cstddef>
#include <optional>
#include <stop_token>
#include <string>
#include <vector>

#include "core/date.h"

namespace tw {

// An Ollama model store as it is on disk: manifests/<registry>/<namespace>/<model>/<tag>
// name the blobs (config and layers, "blobs/sha256-<hex>") that make up each model; a
// layer may belong to several models.
class OllamaStore {
 public:
  struct Blob {
    std::string name;  // "sha256-<hex>", or a partial download's name
    std::string path;
    bool partial = false;   // "sha256-<hex>-partial...": a pull that was cut short or is running
    std::int64_t size = 0;  // allocated bytes
    std::int64_t freeable = 0;
    std::optional<Date> used;
    std::optional<Date> modified;     // read for blobs no manifest names only
    std::vector<std::size_t> models;  // the models whose manifests name it
  };
  struct Model {
    std::string name;  // as `ollama list` shows it: "llama3:latest", "user/model:tag"
    std::string manifestPath;
    std::string digest;  // "sha256:<hex>" of the manifest, as the server reports it
    std::int64_t manifestSize = 0;
    std::int64_t manifestFreeable = 0;
    std::vector<std::size_t> blobs;    // the distinct blobs it names that exist
    std::vector<std::string> missing;  // blobs it names that are not there
  };

  // Reads the store at `folder` (the one holding "manifests" and "blobs"). Manifests that
  // are not JSON, or name blobs by anything but a sha256 digest, are left out.
  [[nodiscard]] static OllamaStore read(const std::string& folder, std::stop_token stop = {});

  [[nodiscard]] const std::string& folder() const { return folder_; }
  [[nodiscard]] const std::vector<Model>& models() const { return models_; }
  [[nodiscard]] const std::vector<Blob>& blobs() const { return blobs_; }
  [[nodiscard]] std::optional<std::size_t> modelAt(const std::string& manifestPath) const;

  // Removing a model: its manifest and the blobs no other manifest names.
  [[nodiscard]] std::vector<std::string> removalPaths(std::size_t model) const;
  // The blobs that no manifest names.
  [[nodiscard]] std::vector<std::size_t> orphans() const;
  // The newest use of the blobs only this model names; of all its blobs when it shares every one.
  [[nodiscard]] std::optional<Date> lastUsed(std::size_t model) const;

  // "registry.ollama.ai/library/llama3/latest" -> "llama3:latest", as the tool shows it.
  [[nodiscard]] static std::string displayName(const std::string& manifestRelativePath);

 private:
  std::string folder_;
  std::vector<Model> models_;
  std::vector<Blob> blobs_;
};

}  // namespace tw
