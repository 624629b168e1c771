#include "screens/docker.h"

#include <sys/stat.h>

#include "core/format.h"
#include "core/shell.h"
#include "fs/path.h"
#include "fs/usage.h"
#include "screens/location_path.h"
#include "screens/screen_order.h"

namespace tw {
namespace {

using Engine = DockerDeep::Engine;

bool isSocket(const std::string& path) {
  struct stat info {};
  return ::stat(path.c_str(), &info) == 0 && S_ISSOCK(info.st_mode);
}

bool isRegularFile(const std::string& path) {
  struct stat info {};
  return ::lstat(path.c_str(), &info) == 0 && S_ISREG(info.st_mode);
}

std::vector<std::string> resolvedAll(const std::vector<std::string>& patterns, const std::string& home,
                                     const Environment& env) {
  std::vector<std::string> paths;
  for (const auto& pattern : patterns) {
    if (auto path = resolveLocation(pattern, home, env)) paths.push_back(std::move(*path));
  }
  return paths;
}

// The groups of the engines that answered, and a sentence for each that did not.
struct Reading {
  std::vector<DevGroupPtr> groups;
  std::vector<std::string> problems;
  bool anyAnswered = false;

  // Adds the engine's groups; false, with `failure` filled in, when it does not answer.
  bool add(const Engine& engine, DockerDeep::Failure& failure, const Context& context, Date now) {
    const auto snapshot = DockerDeep::read(engine, failure, context.stop);
    if (!snapshot) return false;
    anyAnswered = true;
    const auto cli = Shell::which(engine.cliName(), context);
    for (auto& group : DockerDeep::groups(engine, *snapshot, cli, now)) groups.push_back(std::move(group));
    return true;
  }
};

// Docker is the engine $DOCKER_HOST names, else the first socket of the table that answers.
void readDocker(Reading& reading, const DockerLocations& locations, const Context& context, Date now) {
  std::vector<std::string> sockets;
  if (const std::string host = context.variable("DOCKER_HOST"); !host.empty()) {
    if (!host.starts_with("unix://")) {
      reading.problems.push_back("DOCKER_HOST points at " + host +
                                 "; only engines on this machine are read, through their Unix socket.");
      return;
    }
    sockets.push_back(host.substr(7));
  } else {
    sockets = resolvedAll(locations.dockerSockets, context.home, context.env);
  }
  DockerDeep::Failure failure{"Docker isn't running: nothing answers at " +
                                  (sockets.empty() ? std::string("its socket") : sockets.front()) + ".",
                              true};
  for (const auto& socket : sockets) {
    if (isSocket(socket) && reading.add({Engine::Kind::docker, socket}, failure, context, now)) return;
  }
  reading.problems.push_back(failure.notRunning ? failure.sentence + " " + locations.startHint : failure.sentence);
}

// Podman's socket, where it exists, is read as an engine of its own.
void readPodman(Reading& reading, const DockerLocations& locations, const Context& context, Date now) {
  for (const auto& socket : resolvedAll(locations.podmanSockets, context.home, context.env)) {
    DockerDeep::Failure failure;
    if (isSocket(socket) && !reading.add({Engine::Kind::podman, socket}, failure, context, now)) {
      reading.problems.push_back(failure.sentence);
    }
  }
}

std::string joinedSentences(const std::vector<std::string>& sentences) {
  std::string text;
  for (const auto& sentence : sentences) text += (text.empty() ? "" : " ") + sentence;
  return text;
}

DevItem vmDiskItem(const DockerLocations::VMDisk& disk, const std::string& path, const std::string& home) {
  DevItem item;
  item.id = path;
  item.name = disk.product + " disk image";
  item.detail = tildePath(path, home) + " \u00b7 " + disk.compactHint;
  item.size = allocatedSize(path);
  item.freeable = 0;  // information only: removing the image would delete everything in it
  item.badges.push_back({"information", Badge::Tone::info});
  item.selected = false;
  item.action = DevAction::custom([hint = disk.compactHint]() -> std::optional<std::string> {
    return "The disk image isn't removed here. " + hint;
  });
  item.revealPath = path;
  return item;
}

}  // namespace

DevGroupPtr DockerDeep::vmDiskGroup(const DockerLocations& locations, const std::string& home, const Environment& env) {
  std::vector<DevItem> items;
  for (const auto& disk : locations.vmDisks) {
    for (const auto& path : resolvedAll(disk.paths, home, env)) {
      if (isRegularFile(path)) items.push_back(vmDiskItem(disk, path, home));
    }
  }
  if (items.empty()) return nullptr;
  auto group = std::make_shared<DevGroup>(
      "docker-vm-disk", "VM disk", "Grows as the engine stores data and doesn't shrink on its own", "internaldrive");
  group->setItems(std::move(items));
  return group;
}

ProviderResult DockerDeep::scan(const DockerLocations& locations, const Context& context) {
  const Date now = std::chrono::system_clock::now();
  Reading reading;
  readDocker(reading, locations, context, now);
  readPodman(reading, locations, context, now);
  if (!reading.anyAnswered) return {{}, joinedSentences(reading.problems)};
  if (auto disks = vmDiskGroup(locations, context.home, context.env)) reading.groups.push_back(std::move(disks));
  sortByTotal(reading.groups);
  std::optional<std::string> note;
  if (!reading.problems.empty()) note = joinedSentences(reading.problems);
  if (reading.groups.empty() && !note) {
    note = "Nothing to clean up: no unused images, stopped containers, idle build cache or unused volumes.";
  }
  return {std::move(reading.groups), note};
}

ProviderResult DockerDeep::load(const Context& context) { return scan(platformDockerLocations(), context); }

}  // namespace tw
