#include "screens/docker_usage.h"

#include <nlohmann/json.hpp>

#include "core/text.h"

namespace tw {
namespace {

using nlohmann::json;

// Dates before this are the engines' way of saying "never".
constexpr std::int64_t earliestRealDate = 86'400 * 365;

std::string text(const json& object, const char* key) {
  const auto found = object.find(key);
  return found != object.end() && found->is_string() ? validUtf8(found->get<std::string>()) : std::string();
}

std::int64_t number(const json& object, const char* key, std::int64_t absent) {
  const auto found = object.find(key);
  if (found == object.end() || !found->is_number()) return absent;
  if (found->is_number_float()) return static_cast<std::int64_t>(found->get<double>());
  return found->get<std::int64_t>();
}

bool flag(const json& object, const char* key) {
  const auto found = object.find(key);
  return found != object.end() && found->is_boolean() && found->get<bool>();
}

std::vector<std::string> strings(const json& object, const char* key) {
  std::vector<std::string> values;
  const auto found = object.find(key);
  if (found == object.end() || !found->is_array()) return values;
  for (const auto& value : *found) {
    if (value.is_string()) values.push_back(validUtf8(value.get<std::string>()));
  }
  return values;
}

std::optional<Date> realDate(std::optional<Date> date) {
  if (!date || secondsSince1970(*date) < earliestRealDate) return std::nullopt;
  return date;
}

std::optional<Date> secondsDate(const json& object, const char* key) {
  const std::int64_t seconds = number(object, key, 0);
  return realDate(dateFromSeconds(seconds));
}

std::optional<Date> textDate(const json& object, const char* key) { return realDate(parseIso8601(text(object, key))); }

std::vector<std::string> tagsOf(const json& item) {
  std::vector<std::string> tags;
  for (auto& tag : strings(item, "RepoTags")) {
    if (tag != "<none>:<none>") tags.push_back(std::move(tag));
  }
  return tags;
}

std::string withoutAlgorithm(const std::string& id) { return id.starts_with("sha256:") ? id.substr(7) : id; }

DockerUsage::Image image(const json& item) {
  DockerUsage::Image image;
  image.id = text(item, "Id");
  image.tags = tagsOf(item);
  for (auto& digest : strings(item, "RepoDigests")) {
    if (digest != "<none>@<none>") image.digests.push_back(std::move(digest));
  }
  image.size = number(item, "Size", -1);
  image.sharedSize = number(item, "SharedSize", -1);
  image.containers = number(item, "Containers", -1);
  image.created = secondsDate(item, "Created");
  return image;
}

DockerUsage::Container container(const json& item) {
  DockerUsage::Container container;
  container.id = text(item, "Id");
  const auto names = strings(item, "Names");
  if (!names.empty()) container.name = names.front().starts_with('/') ? names.front().substr(1) : names.front();
  container.image = text(item, "Image");
  container.state = text(item, "State");
  container.status = text(item, "Status");
  container.writableBytes = number(item, "SizeRw", 0);
  container.created = secondsDate(item, "Created");
  return container;
}

DockerUsage::Volume volume(const json& item) {
  DockerUsage::Volume volume;
  volume.name = text(item, "Name");
  volume.driver = text(item, "Driver");
  volume.mountpoint = text(item, "Mountpoint");
  if (const auto usage = item.find("UsageData"); usage != item.end() && usage->is_object()) {
    volume.size = number(*usage, "Size", -1);
    volume.containers = number(*usage, "RefCount", -1);
  }
  volume.created = textDate(item, "CreatedAt");
  return volume;
}

DockerUsage::CacheRecord cacheRecord(const json& item) {
  DockerUsage::CacheRecord record;
  record.id = text(item, "ID");
  record.type = text(item, "Type");
  record.description = text(item, "Description");
  record.inUse = flag(item, "InUse");
  record.shared = flag(item, "Shared");
  record.size = number(item, "Size", 0);
  record.usageCount = number(item, "UsageCount", 0);
  record.created = textDate(item, "CreatedAt");
  record.lastUsed = textDate(item, "LastUsedAt");
  return record;
}

// The list under `legacyKey`, or else the "Items" of the object under `usageKey`.
const json* itemsOf(const json& root, const char* legacyKey, const char* usageKey) {
  if (const auto list = root.find(legacyKey); list != root.end() && list->is_array()) return &*list;
  const auto usage = root.find(usageKey);
  if (usage == root.end() || !usage->is_object()) return nullptr;
  const auto items = usage->find("Items");
  return items != usage->end() && items->is_array() ? &*items : nullptr;
}

template <typename T, typename Read>
std::vector<T> readAll(const json& root, const char* legacyKey, const char* usageKey, Read read) {
  std::vector<T> values;
  if (const json* items = itemsOf(root, legacyKey, usageKey)) {
    for (const auto& item : *items) {
      if (item.is_object()) values.push_back(read(item));
    }
  }
  return values;
}

}  // namespace

std::optional<DockerUsage> DockerUsage::parse(std::string_view body) {
  const json root = json::parse(body, nullptr, false);
  if (root.is_discarded() || !root.is_object()) return std::nullopt;
  DockerUsage usage;
  usage.images = readAll<Image>(root, "Images", "ImageUsage", image);
  usage.containers = readAll<Container>(root, "Containers", "ContainerUsage", container);
  usage.volumes = readAll<Volume>(root, "Volumes", "VolumeUsage", volume);
  usage.buildCache = readAll<CacheRecord>(root, "BuildCache", "BuildCacheUsage", cacheRecord);
  return usage;
}

std::map<std::string, std::vector<std::string>> imageTags(std::string_view imagesJson) {
  std::map<std::string, std::vector<std::string>> tags;
  const json root = json::parse(imagesJson, nullptr, false);
  if (root.is_discarded() || !root.is_array()) return tags;
  for (const auto& item : root) {
    if (item.is_object()) tags[withoutAlgorithm(text(item, "Id"))] = tagsOf(item);
  }
  return tags;
}

std::optional<Date> containerFinishedAt(std::string_view inspectJson) {
  const json root = json::parse(inspectJson, nullptr, false);
  if (root.is_discarded() || !root.is_object()) return std::nullopt;
  const auto state = root.find("State");
  if (state == root.end() || !state->is_object()) return std::nullopt;
  return textDate(*state, "FinishedAt");
}

std::string engineErrorMessage(std::string_view body) {
  const json root = json::parse(body, nullptr, false);
  if (!root.is_discarded() && root.is_object()) {
    if (std::string message = trimmed(text(root, "message")); !message.empty()) return message;
  }
  return trimmed(validUtf8(body));
}

}  // namespace tw
