#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "core/date.h"

namespace tw {

// What a container engine reports about its disk use (`GET /system/df`), in plain values.
// A count or size the engine did not compute is -1.
struct DockerUsage {
  struct Image {
    std::string id;
    std::vector<std::string> tags;     // "<none>:<none>" left out
    std::vector<std::string> digests;  // "name@sha256:..."
    std::int64_t size = -1;
    std::int64_t sharedSize = -1;  // bytes in layers other images use too
    std::int64_t containers = -1;  // containers (running or not) made from it
    std::optional<Date> created;

    [[nodiscard]] bool dangling() const { return tags.empty(); }
  };
  struct Container {
    std::string id;
    std::string name;  // without the leading slash
    std::string image;
    std::string state;  // "running", "exited", "created", ...
    std::string status;
    std::int64_t writableBytes = 0;  // the writable layer; absent means empty
    std::optional<Date> created;

    [[nodiscard]] bool stopped() const { return state == "exited" || state == "created" || state == "dead"; }
  };
  struct Volume {
    std::string name;
    std::string driver;
    std::string mountpoint;
    std::int64_t size = -1;
    std::int64_t containers = -1;  // containers that mount it
    std::optional<Date> created;
  };
  struct CacheRecord {
    std::string id;
    std::string type;
    std::string description;
    bool inUse = false;
    bool shared = false;  // its data is also part of an image or another record
    std::int64_t size = 0;
    std::int64_t usageCount = 0;
    std::optional<Date> created;
    std::optional<Date> lastUsed;
  };

  std::vector<Image> images;
  std::vector<Container> containers;
  std::vector<Volume> volumes;
  std::vector<CacheRecord> buildCache;

  // Both shapes of the answer: the lists at the top level (API 1.51 and older, and 1.52
  // without "verbose"), or "ImageUsage", "ContainerUsage", "VolumeUsage" and
  // "BuildCacheUsage" objects with "Items" (1.52 and newer). Nothing for text that is not
  // a JSON object.
  [[nodiscard]] static std::optional<DockerUsage> parse(std::string_view json);
};

// The tags of every image from `GET /images/json`, keyed by id without its "sha256:".
// Podman's disk-use answer cuts its tags short ("1" for "localhost/app:1"); this list has them whole.
[[nodiscard]] std::map<std::string, std::vector<std::string>> imageTags(std::string_view imagesJson);

// When a stopped container stopped, from `GET /containers/{id}/json`; nothing when the
// answer does not say (a container that never ran reports the zero date).
[[nodiscard]] std::optional<Date> containerFinishedAt(std::string_view inspectJson);

// The "message" of an engine's error answer, or the text itself when it has none.
[[nodiscard]] std::string engineErrorMessage(std::string_view body);

}  // namespace tw
