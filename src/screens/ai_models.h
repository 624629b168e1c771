#pragma once

#include <chrono>
#include <stop_token>
#include <string>

#include "core/dev_group.h"
#include "screens/ai_locations.h"
#include "screens/location_path.h"

namespace tw {

// The AI Models screen: local models of Hugging Face, Ollama, LM Studio, PyTorch hub,
// Whisper and GPT4All, with when each was last used. Whole models are offered; only
// leftovers (detached revisions, unfinished and orphaned downloads) are pre-selected,
// and nothing used in the last 30 days is.
struct AIModels {
  static constexpr auto recentUse = std::chrono::hours(24 * 30);

  // Reads no global: the home folder and the environment (HF_HOME, HF_HUB_CACHE,
  // OLLAMA_MODELS, TORCH_HOME, XDG_CACHE_HOME, ...) come as arguments.
  [[nodiscard]] static ProviderResult scan(const std::string& home, const Environment& env, std::stop_token stop = {});
  [[nodiscard]] static ProviderResult scan(const ModelLocations& locations, const std::string& home,
                                           const Environment& env, std::stop_token stop = {});
};

}  // namespace tw
