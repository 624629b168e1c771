#include <algorithm>

#include "core/format.h"
#include "core/text.h"
#include "screens/docker.h"
#include "screens/docker_actions.h"
#include "screens/screen_order.h"

namespace tw {
namespace {

using Engine = DockerDeep::Engine;

std::string shortId(const std::string& id) {
  const std::string hex = id.starts_with("sha256:") ? id.substr(7) : id;
  return hex.substr(0, 12);
}

std::string joined(const std::vector<std::string>& parts, const std::string& separator) {
  std::string text;
  for (const auto& part : parts) {
    if (!part.empty()) text += (text.empty() ? "" : separator) + part;
  }
  return text;
}

std::optional<std::int64_t> known(std::int64_t bytes) {
  return bytes >= 0 ? std::optional<std::int64_t>(bytes) : std::nullopt;
}

bool staleSince(const std::optional<Date>& date, Date now) { return date && now - *date >= DockerDeep::staleAfter; }

DevGroupPtr makeGroup(const Engine& engine, const std::string& kind, const std::string& title,
                      const std::string& subtitle, const std::string& icon, std::vector<DevItem> items) {
  const std::string shownTitle = engine.kind == Engine::Kind::docker ? title : engine.name() + " " + lowercased(title);
  auto group = std::make_shared<DevGroup>(engine.identifier() + "-" + kind, shownTitle, subtitle, icon);
  sortByFreeable(items);
  group->setItems(std::move(items));
  return group;
}

DevItem imageItem(const Engine& engine, const DockerUsage::Image& image, Date now, const DockerRemover& remover) {
  DevItem item;
  item.id = engine.identifier() + ":image:" + image.id;
  item.name = image.dangling() ? "Dangling image " + shortId(image.id) : image.tags.front();
  if (image.tags.size() > 1) item.name += " (+" + std::to_string(image.tags.size() - 1) + " more tags)";
  std::vector<std::string> detail{shortId(image.id)};
  if (image.tags.size() > 1) detail.push_back(joined(image.tags, ", "));
  if (image.created) detail.push_back("created " + ago(*image.created, now));
  if (image.sharedSize > 0) detail.push_back(byteFormatter(image.sharedSize) + " shared with other images");
  detail.push_back("no containers use it");
  item.detail = joined(detail, " \u00b7 ");
  item.size = known(image.size);
  if (image.size >= 0 && image.sharedSize >= 0)
    item.freeable = std::max<std::int64_t>(0, image.size - image.sharedSize);
  if (image.dangling()) item.badges.push_back({"dangling", Badge::Tone::warn});
  if (image.sharedSize > 0) item.badges.push_back({"shares layers", Badge::Tone::info});
  item.selected = image.dangling();
  item.action = remover.image(image);
  if (!image.dangling()) item.restoreHint = engine.cliName() + " pull " + image.tags.front() + " (or build it again)";
  return item;
}

DevGroupPtr imageGroup(const Engine& engine, const DockerUsage& usage, Date now, const DockerRemover& remover) {
  std::vector<DevItem> items;
  std::size_t inUse = 0;
  for (const auto& image : usage.images) {
    // An image a container was made from is never offered, nor one whose use is unknown.
    if (image.containers != 0) {
      ++inUse;
      continue;
    }
    items.push_back(imageItem(engine, image, now, remover));
  }
  const std::string subtitle =
      std::to_string(usage.images.size()) + " images, " + std::to_string(inUse) + " used by containers (not offered)";
  return makeGroup(engine, "images", "Images", subtitle, "shippingbox", std::move(items));
}

DevItem containerItem(const Engine& engine, const DockerUsage::Container& container,
                      const std::optional<Date>& stoppedAt, Date now, const DockerRemover& remover) {
  DevItem item;
  item.id = engine.identifier() + ":container:" + container.id;
  item.name = container.name.empty() ? shortId(container.id) : container.name;
  std::vector<std::string> detail{container.image, container.status};
  if (stoppedAt && container.state != "created") detail.push_back("stopped " + ago(*stoppedAt, now));
  item.detail = joined(detail, " \u00b7 ");
  item.size = container.writableBytes;
  item.freeable = container.writableBytes;
  item.badges.push_back({container.state, Badge::Tone::info});
  item.selected = staleSince(stoppedAt, now);
  item.action = remover.container(container.id);
  item.warning = item.name + ": files changed inside the container are deleted with it";
  return item;
}

DevGroupPtr containerGroup(const Engine& engine, const DockerDeep::Snapshot& snapshot, Date now,
                           const DockerRemover& remover) {
  std::vector<DevItem> items;
  for (const auto& container : snapshot.usage.containers) {
    if (!container.stopped()) continue;
    std::optional<Date> stoppedAt;
    if (const auto found = snapshot.stoppedAt.find(container.id); found != snapshot.stoppedAt.end()) {
      stoppedAt = found->second;
    }
    items.push_back(containerItem(engine, container, stoppedAt, now, remover));
  }
  const std::string subtitle = std::to_string(items.size()) + " of " +
                               std::to_string(snapshot.usage.containers.size()) +
                               " containers stopped; running ones are not offered";
  return makeGroup(engine, "containers", "Stopped containers", subtitle, "shippingbox", std::move(items));
}

DevItem cacheItem(const Engine& engine, const DockerUsage::CacheRecord& record, Date now,
                  const DockerRemover& remover) {
  DevItem item;
  item.id = engine.identifier() + ":build-cache:" + record.id;
  item.name = record.description.empty() ? record.id : record.description;
  const auto lastUsed = record.lastUsed ? record.lastUsed : record.created;
  std::vector<std::string> detail{record.type, record.id};
  if (lastUsed) detail.push_back("last used " + ago(*lastUsed, now));
  item.detail = joined(detail, " \u00b7 ");
  item.size = record.size;
  // Shared data stays as long as the image or record that shares it.
  item.freeable = record.shared ? 0 : record.size;
  if (record.shared) item.badges.push_back({"shared", Badge::Tone::info});
  item.selected = staleSince(lastUsed, now);
  item.action = remover.buildCache(record.id);
  item.restoreHint = "Rebuilt by the next build that needs it";
  return item;
}

DevGroupPtr buildCacheGroup(const Engine& engine, const DockerUsage& usage, Date now, const DockerRemover& remover) {
  std::vector<DevItem> items;
  for (const auto& record : usage.buildCache) {
    if (!record.inUse) items.push_back(cacheItem(engine, record, now, remover));
  }
  const std::string subtitle =
      std::to_string(items.size()) + " build cache entries not in use; unused for 30 days are pre-selected";
  return makeGroup(engine, "build-cache", "Build cache", subtitle, "hammer", std::move(items));
}

DevItem volumeItem(const Engine& engine, const DockerUsage::Volume& volume, Date now, const DockerRemover& remover) {
  DevItem item;
  item.id = engine.identifier() + ":volume:" + volume.name;
  item.name = volume.name;
  std::vector<std::string> detail{volume.driver};
  if (volume.created) detail.push_back("created " + ago(*volume.created, now));
  detail.push_back("no containers use it");
  item.detail = joined(detail, " \u00b7 ");
  item.size = known(volume.size);
  item.freeable = known(volume.size);
  item.badges.push_back({"data", Badge::Tone::warn});
  item.selected = false;  // a volume is data, never a cache
  item.action = remover.volume(volume.name);
  item.warning = volume.name + ": may hold a database or other data you cannot rebuild";
  return item;
}

DevGroupPtr volumeGroup(const Engine& engine, const DockerUsage& usage, Date now, const DockerRemover& remover) {
  std::vector<DevItem> items;
  for (const auto& volume : usage.volumes) {
    // Mounted by a container, or nobody can say: not offered.
    if (volume.containers == 0) items.push_back(volumeItem(engine, volume, now, remover));
  }
  const std::string subtitle = std::to_string(items.size()) + " of " + std::to_string(usage.volumes.size()) +
                               " volumes unused by any container; never pre-selected";
  return makeGroup(engine, "volumes", "Volumes", subtitle, "cylinder", std::move(items));
}

}  // namespace

std::vector<DevGroupPtr> DockerDeep::groups(const Engine& engine, const Snapshot& snapshot,
                                            const std::optional<std::string>& cli, Date now) {
  const DockerRemover remover(engine, cli);
  std::vector<DevGroupPtr> groups{
      imageGroup(engine, snapshot.usage, now, remover), containerGroup(engine, snapshot, now, remover),
      buildCacheGroup(engine, snapshot.usage, now, remover), volumeGroup(engine, snapshot.usage, now, remover)};
  std::erase_if(groups, [](const DevGroupPtr& group) { return group->items().empty(); });
  return groups;
}

}  // namespace tw
