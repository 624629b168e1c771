#include "screens/ai_locations.h"

namespace tw {
namespace {

using Store = ModelLocations::Store;

// The places every platform shares; the Hugging Face order is huggingface_hub's own.
std::vector<ModelLocations::Place> sharedPlaces() {
  return {
      {Store::huggingFace,
       {"$HF_HUB_CACHE", "$HUGGINGFACE_HUB_CACHE", "$HF_HOME/hub", "$XDG_CACHE_HOME/huggingface/hub",
        "~/.cache/huggingface/hub"}},
      {Store::ollama, {"$OLLAMA_MODELS", "~/.ollama/models"}},
      {Store::lmStudio, {"~/.lmstudio/models"}},
      {Store::lmStudio, {"~/.cache/lm-studio/models"}},
      {Store::torchHub, {"$TORCH_HOME/hub", "$XDG_CACHE_HOME/torch/hub", "~/.cache/torch/hub"}},
      {Store::whisper, {"$XDG_CACHE_HOME/whisper", "~/.cache/whisper"}},
  };
}

}  // namespace

const ModelLocations& linuxModelLocations() {
  static const ModelLocations table = [] {
    ModelLocations locations{"linux", sharedPlaces()};
    // The system service's own store, readable or not.
    locations.places.push_back({Store::ollama, {"/usr/share/ollama/.ollama/models"}});
    locations.places.push_back(
        {Store::gpt4all, {"$XDG_DATA_HOME/nomic.ai/GPT4All", "~/.local/share/nomic.ai/GPT4All"}});
    return locations;
  }();
  return table;
}

const ModelLocations& macOSModelLocations() {
  static const ModelLocations table = [] {
    ModelLocations locations{"macos", sharedPlaces()};
    locations.places.push_back({Store::gpt4all, {"~/Library/Application Support/nomic.ai/GPT4All"}});
    return locations;
  }();
  return table;
}

}  // namespace tw
