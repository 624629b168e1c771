#pragma once

#include <string>
#include <vector>

namespace tw {

// Where local AI models are kept, as data: one table per platform. Paths use the location
// patterns of location_path.h ("~/...", "$NAME/...").
struct ModelLocations {
  enum class Store { huggingFace, ollama, lmStudio, torchHub, whisper, gpt4all };

  // One store folder. Its candidates follow the tool's own precedence: the first that
  // resolves (its variable is set) is the folder, whether or not it exists.
  struct Place {
    Store store;
    std::vector<std::string> candidates;
  };

  std::string name;  // "linux" or "macos"
  std::vector<Place> places;
};

[[nodiscard]] const ModelLocations& linuxModelLocations();
[[nodiscard]] const ModelLocations& macOSModelLocations();
// The running platform's table.
[[nodiscard]] const ModelLocations& platformModelLocations();

}  // namespace tw
