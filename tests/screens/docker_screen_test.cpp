#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/socket.h>
#include <sys/un.h>

#include <cstring>

#include "fs/unique_fd.h"
#include "screens/docker.h"
#include "screens/docker_recorded_answers.h"
#include "support/canned_http_server.h"
#include "support/fake_home.h"
#include "support/provider_lookup.h"

namespace tw::test {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::UnorderedElementsAre;
using Engine = DockerDeep::Engine;

constexpr auto day = std::chrono::hours(24);

Date recordedUse() { return *parseIso8601(recordedBuildCacheUse); }

DockerDeep::Snapshot recordedSnapshot(const char* answer) {
  DockerDeep::Snapshot snapshot;
  snapshot.usage = *DockerUsage::parse(answer);
  for (const auto& container : snapshot.usage.containers) {
    if (container.name == "stopped-one")
      snapshot.stoppedAt[container.id] = *containerFinishedAt(recordedContainerInspect);
  }
  return snapshot;
}

std::vector<std::string> commandOf(const DevItem& item) {
  const auto* commands = std::get_if<DevAction::Commands>(&item.action.value);
  if (commands == nullptr || commands->commands.size() != 1) return {};
  return commands->commands.front();
}

std::vector<std::string> idsOf(const DockerUsage& usage) {
  std::vector<std::string> ids;
  for (const auto& image : usage.images) ids.push_back(image.id + " " + std::to_string(image.size));
  for (const auto& container : usage.containers) ids.push_back(container.name + " " + container.state);
  for (const auto& volume : usage.volumes) ids.push_back(volume.name + " " + std::to_string(volume.containers));
  for (const auto& record : usage.buildCache) ids.push_back(record.id + " " + std::to_string(record.size));
  return ids;
}

// A Unix socket file with nothing listening behind it, as a crashed engine leaves.
void leaveDeadSocket(const std::string& path) {
  const UniqueFd fd(::socket(AF_UNIX, SOCK_STREAM, 0));
  sockaddr_un address{};
  address.sun_family = AF_UNIX;
  std::memcpy(address.sun_path, path.c_str(), path.size() + 1);
  ASSERT_EQ(::bind(fd.get(), reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
}

}  // namespace

TEST(DockerAnswer, BothShapesOfTheDiskUsageAnswerReadAlike) {
  const auto legacy = DockerUsage::parse(dockerDfApi141);
  const auto current = DockerUsage::parse(dockerDfApi152);
  ASSERT_TRUE(legacy && current);
  EXPECT_EQ(idsOf(*legacy), idsOf(*current));
  EXPECT_EQ(legacy->images.size(), 5u);
  EXPECT_EQ(legacy->buildCache.size(), 5u);

  const auto& usage = *current;
  const auto dangling =
      std::find_if(usage.images.begin(), usage.images.end(), [](const auto& i) { return i.dangling(); });
  ASSERT_NE(dangling, usage.images.end());
  EXPECT_EQ(dangling->id, "sha256:43139dd30f06db1cfdd21b8c001946b5294dec7537d79fad61c082c58c752e84");
  EXPECT_EQ(dangling->sharedSize, 1982263);
  EXPECT_EQ(dangling->containers, 0);
  EXPECT_THAT(usage.containers[0].name, "live");
  EXPECT_EQ(usage.containers[0].writableBytes, 0);  // left out of the answer when empty
  EXPECT_FALSE(usage.containers[0].stopped());
  EXPECT_TRUE(usage.containers[1].stopped());
  EXPECT_EQ(usage.volumes[1].name, "data-old");
  EXPECT_EQ(usage.volumes[1].containers, 0);
  EXPECT_EQ(containerFinishedAt(recordedContainerInspect), parseIso8601("2026-11-23T01:23:06.438019928Z"));
}

TEST(DockerAnswer, DamagedAnswersGiveNothingOrLeaveOutWhatCannotBeRead) {
  EXPECT_FALSE(DockerUsage::parse(""));
  EXPECT_FALSE(DockerUsage::parse("[]"));
  EXPECT_FALSE(DockerUsage::parse("{\"Images\": [}"));
  const auto odd = DockerUsage::parse(
      R"({"Images": "none", "Containers": [7, {"Id": "c1", "Names": ["/caf\u00e9"], "SizeRw": "big", "State": 3}],)"
      R"( "VolumeUsage": {"Items": [{"Name": "v", "UsageData": null}]}, "BuildCache": null})");
  ASSERT_TRUE(odd);
  EXPECT_TRUE(odd->images.empty());
  ASSERT_EQ(odd->containers.size(), 1u);
  EXPECT_EQ(odd->containers[0].name, "caf\u00e9");
  EXPECT_EQ(odd->containers[0].writableBytes, 0);
  EXPECT_EQ(odd->containers[0].state, "");
  ASSERT_EQ(odd->volumes.size(), 1u);
  EXPECT_EQ(odd->volumes[0].containers, -1);  // unknown, so never offered
  const auto bytes = DockerUsage::parse("{\"Images\": [{\"Id\": \"x\", \"RepoTags\": [\"bad\xff:1\"]}]}");
  EXPECT_FALSE(bytes);  // not UTF-8 at all: not JSON
  EXPECT_FALSE(containerFinishedAt(R"({"State": {"FinishedAt": "0001-01-01T00:00:00Z"}})"));
  EXPECT_FALSE(containerFinishedAt("garbage"));
  EXPECT_EQ(engineErrorMessage(R"({"message": "conflict: unable to remove repository reference"})"),
            "conflict: unable to remove repository reference");
  EXPECT_EQ(engineErrorMessage("plain words\n"), "plain words");
}

TEST(DockerGroups, OnlyUnusedObjectsAreOfferedAndOnlyDanglingImagesAndStaleLeftoversPreselected) {
  const Engine engine{Engine::Kind::docker, "/run/test/docker.sock"};
  const auto snapshot = recordedSnapshot(dockerDfApi152);
  const auto groups = DockerDeep::groups(engine, snapshot, "/usr/bin/docker", recordedUse() + 31 * day);

  const auto& images = groupWithId(groups, "docker-images");
  EXPECT_THAT(itemNames(images), UnorderedElementsAre("cached:1", "base:1", "Dangling image 43139dd30f06"));
  const auto& dangling = itemNamed(images, "Dangling image 43139dd30f06");
  EXPECT_TRUE(dangling.selected);
  EXPECT_EQ(dangling.size, 2982263);
  EXPECT_EQ(dangling.freeable, 2982263 - 1982263);
  EXPECT_FALSE(itemNamed(images, "cached:1").selected);
  EXPECT_EQ(itemNamed(images, "base:1").freeable, 0);  // every layer is shared
  EXPECT_THAT(commandOf(dangling),
              ElementsAre("/usr/bin/docker", "--host", "unix:///run/test/docker.sock", "image", "rm",
                          "sha256:43139dd30f06db1cfdd21b8c001946b5294dec7537d79fad61c082c58c752e84"));
  EXPECT_THAT(commandOf(itemNamed(images, "cached:1")),
              ElementsAre("/usr/bin/docker", "--host", "unix:///run/test/docker.sock", "image", "rm", "cached:1"));

  const auto& containers = groupWithId(groups, "docker-containers");
  EXPECT_THAT(itemNames(containers), ElementsAre("stopped-one"));
  EXPECT_TRUE(containers.items()[0].selected);
  EXPECT_THAT(commandOf(containers.items()[0]), ElementsAre("/usr/bin/docker", "--host", "unix:///run/test/docker.sock",
                                                            "container", "rm", snapshot.usage.containers[1].id));

  const auto& cache = groupWithId(groups, "docker-build-cache");
  EXPECT_EQ(cache.items().size(), 5u);
  for (const auto& item : cache.items()) {
    EXPECT_TRUE(item.selected) << item.name;
    const bool shared =
        std::find(item.badges.begin(), item.badges.end(), Badge{"shared", Badge::Tone::info}) != item.badges.end();
    EXPECT_EQ(item.freeable, shared ? 0 : *item.size) << item.name;
  }
  EXPECT_EQ(cache.total(), 1'200'022);
  EXPECT_THAT(commandOf(cache.items()[0]),
              ElementsAre("/usr/bin/docker", "--host", "unix:///run/test/docker.sock", "builder", "prune", "--force",
                          "--filter", "id=fye3ld1u2uigetzmrjfsbe7o8"));

  const auto& volumes = groupWithId(groups, "docker-volumes");
  EXPECT_THAT(itemNames(volumes), ElementsAre("data-old"));
  EXPECT_FALSE(volumes.items()[0].selected);
  EXPECT_EQ(volumes.items()[0].warning, "data-old: may hold a database or other data you cannot rebuild");
  EXPECT_THAT(commandOf(volumes.items()[0]),
              ElementsAre("/usr/bin/docker", "--host", "unix:///run/test/docker.sock", "volume", "rm", "data-old"));
}

TEST(DockerGroups, RecentLeftoversAndUnknownsAreNeverPreselectedOrOffered) {
  const Engine engine{Engine::Kind::docker, "/run/test/docker.sock"};
  auto snapshot = recordedSnapshot(dockerDfApi141);
  const auto early = DockerDeep::groups(engine, snapshot, std::nullopt, recordedUse() + 29 * day);
  EXPECT_FALSE(groupWithId(early, "docker-containers").items()[0].selected);
  for (const auto& item : groupWithId(early, "docker-build-cache").items()) EXPECT_FALSE(item.selected) << item.name;
  // Without the CLI every removal goes through the API.
  EXPECT_TRUE(std::holds_alternative<DevAction::Custom>(groupWithId(early, "docker-images").items()[0].action.value));

  // When nobody can say whether a container uses it, or when it stopped: offered as nothing / not pre-selected.
  snapshot.stoppedAt.clear();
  for (auto& image : snapshot.usage.images) image.containers = -1;
  for (auto& volume : snapshot.usage.volumes) volume.containers = -1;
  const auto unknown = DockerDeep::groups(engine, snapshot, std::nullopt, recordedUse() + 400 * day);
  EXPECT_THROW((void)groupWithId(unknown, "docker-images"), std::runtime_error);
  EXPECT_THROW((void)groupWithId(unknown, "docker-volumes"), std::runtime_error);
  EXPECT_FALSE(groupWithId(unknown, "docker-containers").items()[0].selected);
}

TEST(DockerGroups, PodmanObjectsAreItsOwnGroupsRemovedWithItsOwnTool) {
  const Engine podman{Engine::Kind::podman, "/run/user/1000/podman/podman.sock"};
  const auto groups = DockerDeep::groups(podman, recordedSnapshot(dockerDfApi141), "/usr/bin/podman", recordedUse());
  const auto& images = groupWithId(groups, "podman-images");
  EXPECT_EQ(images.title, "Podman images");
  EXPECT_THAT(commandOf(itemNamed(images, "cached:1")),
              ElementsAre("/usr/bin/podman", "--url", "unix:///run/user/1000/podman/podman.sock", "image", "rm",
                          "sha256:c996c511115632d72f60061d1c890321fd81f8dac41636b99aac217e2c78c082"));
  EXPECT_EQ(itemNamed(images, "cached:1").restoreHint, "podman pull cached:1 (or build it again)");
  EXPECT_EQ(groupWithId(groups, "podman-containers").title, "Podman stopped containers");
}

TEST(DockerScreen, SaysWhenNoEngineAnswersAndHowToStartIt) {
  FakeHome home;
  const std::string runtime = home.folder("run");
  const std::string dead = home / "dead.sock";
  leaveDeadSocket(dead);
  const auto& table = linuxDockerLocations();
  const auto missing = DockerDeep::scan(
      table, home.context({{"DOCKER_HOST", "unix://" + home / "none.sock"}, {"XDG_RUNTIME_DIR", runtime}}));
  EXPECT_TRUE(missing.groups.empty());
  EXPECT_EQ(missing.note, "Docker isn't running: nothing answers at " + home / "none.sock" + ". " + table.startHint);

  const auto refused =
      DockerDeep::scan(table, home.context({{"DOCKER_HOST", "unix://" + dead}, {"XDG_RUNTIME_DIR", runtime}}));
  EXPECT_TRUE(refused.groups.empty());
  EXPECT_EQ(refused.note, "Docker isn't running: nothing answers at " + dead + ". " + table.startHint);

  const auto remote = DockerDeep::scan(table, home.context({{"DOCKER_HOST", "tcp://10.0.0.9:2375"}}));
  EXPECT_TRUE(remote.groups.empty());
  EXPECT_THAT(*remote.note, HasSubstr("DOCKER_HOST points at tcp://10.0.0.9:2375"));
}

TEST(DockerScreen, AnEngineThatHangsOrAnswersNonsenseBecomesTheNote) {
  FakeHome home;
  const std::string hungSocket = home / "hung.sock";
  CannedHttpServer hung(hungSocket);
  hung.answer("GET /_ping", {200, "OK", true});
  const auto started = std::chrono::steady_clock::now();
  const auto slow = DockerDeep::scan(linuxDockerLocations(), home.context({{"DOCKER_HOST", "unix://" + hungSocket}}));
  EXPECT_LT(std::chrono::steady_clock::now() - started, std::chrono::seconds(5));
  EXPECT_THAT(*slow.note, HasSubstr("Docker didn't answer at " + hungSocket + " in time"));

  const std::string oddSocket = home / "odd.sock";
  CannedHttpServer odd(oddSocket);
  odd.answer("GET /_ping", {200, "OK"});
  odd.answer("GET /system/df?verbose=1", {200, "<html>surprise</html>"});
  const auto nonsense =
      DockerDeep::scan(linuxDockerLocations(), home.context({{"DOCKER_HOST", "unix://" + oddSocket}}));
  EXPECT_TRUE(nonsense.groups.empty());
  EXPECT_THAT(*nonsense.note, HasSubstr("Docker answered, but its disk-use report couldn't be read."));
}

TEST(DockerScreen, VirtualMachineDisksAreShownFromEitherTableAndNeverRemoved) {
  for (const auto* table : {&linuxDockerLocations(), &macOSDockerLocations()}) {
    FakeHome home;
    std::vector<std::string> disks;
    for (const auto& disk : table->vmDisks) {
      const std::string relative = disk.paths.front().substr(2);  // after "~/"
      disks.push_back(home.file(relative, 64 * 1024));
    }
    const auto group = DockerDeep::vmDiskGroup(*table, home.path(), {});
    ASSERT_TRUE(group) << table->name;
    ASSERT_EQ(group->items().size(), table->vmDisks.size()) << table->name;
    for (std::size_t index = 0; index < disks.size(); ++index) {
      const auto& item = group->items()[index];
      EXPECT_EQ(item.id, disks[index]);
      EXPECT_EQ(item.name, table->vmDisks[index].product + " disk image");
      EXPECT_GE(*item.size, 64 * 1024);
      EXPECT_EQ(item.freeable, 0);
      EXPECT_FALSE(item.selected);
      EXPECT_THAT(item.action.perform(home.context()).reason, HasSubstr(table->vmDisks[index].compactHint));
      EXPECT_TRUE(exists(disks[index]));
    }
    EXPECT_EQ(group->total(), 0);
    EXPECT_FALSE(DockerDeep::vmDiskGroup(*table, "/nonexistent-home", {})) << table->name;
  }
}

}  // namespace tw::test
