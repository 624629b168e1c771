#pragma once

#include <chrono>

#include "core/context.h"
#include "core/dev_group.h"
#include "screens/ai_locations.h"

namespace tw {

// The AI Models screen: local models of Hugging Face, Ollama, LM Studio, PyTorch hub,
// Whisper and GPT4All, with when each was last used. Whole models are offered; only
// leftovers (detached revisions, unfinished and orphaned downloads) are pre-selected,
// and nothing used in the last 30 days is.
struct AIModels {
  static constexpr auto recentUse = std::chrono::hours(24 * 30);

  // Reads no global: the home folder and the environment (HF_HOME, HF_HUB_CACHE,
  // OLLAMA_MODELS, TORCH_HOME, XDG_CACHE_HOME, ...) come with the context, which the
  // removals also run under.
  [[nodiscard]] static ProviderResult scan(const Context& context);
  [[nodiscard]] static ProviderResult scan(const ModelLocations& locations, const Context& context);
};

}  // namespace tw
