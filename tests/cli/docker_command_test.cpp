#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "support/docker_engine.h"
#include "support/fake_home.h"
#include "support/screen_output.h"

namespace tw::test {
namespace {

using ::testing::UnorderedElementsAreArray;

std::string filler(std::size_t bytes, char seed) {
  std::string text(bytes, seed);
  for (std::size_t i = 0; i < bytes; ++i) text[i] = static_cast<char>(seed + (i * 7919) % 61);
  return text;
}

// What docker itself says, in bytes: `docker system df -v` for each object, by id or name.
struct DockerFigures {
  std::map<std::string, std::pair<std::int64_t, std::int64_t>> images;  // id -> size, unique size
  std::map<std::string, std::int64_t> containers;                       // name -> size
  std::map<std::string, std::int64_t> volumes;                          // name -> size
  std::map<std::string, std::int64_t> buildCache;                       // id -> size
};

DockerFigures dockerFigures(const DockerEngine& engine) {
  const auto df = nlohmann::json::parse(engine.docker({"system", "df", "--verbose", "--format", "{{json .}}"}));
  DockerFigures figures;
  for (const auto& image : df["Images"]) {
    figures.images[image["ID"]] = {dockerHumanSize(image["Size"]), dockerHumanSize(image["UniqueSize"])};
  }
  for (const auto& container : df["Containers"])
    figures.containers[container["Names"]] = dockerHumanSize(container["Size"]);
  for (const auto& volume : df["Volumes"]) figures.volumes[volume["Name"]] = dockerHumanSize(volume["Size"]);
  for (const auto& record : df["BuildCache"]) figures.buildCache[record["ID"]] = dockerHumanSize(record["Size"]);
  return figures;
}

// Docker prints three or four significant digits.
void expectAbout(std::int64_t ours, std::int64_t theirs, const std::string& what) {
  EXPECT_GE(theirs, 0) << what;
  EXPECT_NEAR(static_cast<double>(ours), static_cast<double>(theirs), static_cast<double>(theirs) * 0.005 + 1) << what;
}

class DockerCommand : public ::testing::Test {
 protected:
  void SetUp() override {
    std::string whyNot;
    engine_ = DockerEngine::start(whyNot);
    if (!engine_) GTEST_SKIP() << whyNot;
  }

  // Images built and pulled over time, containers run and stopped, volumes with data.
  void buildWorkshop() {
    DockerEngine& docker = *engine_;
    docker.importBusybox("base:1");
    docker.build("app:1",
                 "FROM base:1\nRUN [\"/bin/busybox\", \"dd\", \"if=/dev/zero\", \"of=/data\", \"bs=1M\", \"count=3\"]\n"
                 "COPY payload /payload\n",
                 {{"payload", filler(1'000'000, 'a')}});
    docker.build("spare:1", "FROM base:1\nCOPY spare /spare\n", {{"spare", filler(2'000'000, 'b')}});
    replacedTool_ = docker.build("tool:1", "FROM base:1\nCOPY tool /tool\n", {{"tool", filler(1'500'000, 'c')}});
    docker.build("tool:1", "FROM base:1\nCOPY tool /tool\n", {{"tool", filler(1'600'000, 'd')}});
    docker.build("cached:1", "FROM base:1\nCOPY blob /blob\n", {{"blob", filler(1'200'000, 'e')}}, true);

    docker.docker({"volume", "create", "keep-data"});
    docker.docker({"volume", "create", "old-data"});
    docker.docker({"run", "--rm", "--network", "none", "-v", "old-data:/v", "app:1", "/bin/busybox", "dd",
                   "if=/dev/zero", "of=/v/db", "bs=1M", "count=2"});
    docker.docker({"run", "--network", "none", "--name", "long-stopped", "app:1", "/bin/busybox", "sh", "-c",
                   "/bin/busybox dd if=/dev/zero of=/scratch bs=1k count=300"});
    docker.docker({"run", "--network", "none", "--name", "just-stopped", "app:1", "/bin/busybox", "true"});
    docker.backdateStop("long-stopped", std::chrono::hours(24 * 40));
    docker.docker({"run", "--detach", "--network", "none", "--name", "runner", "-v", "keep-data:/v", "app:1",
                   "/bin/busybox", "sleep", "600"});
  }

  // Only our engine: no Podman socket where the screen looks for one.
  std::map<std::string, std::optional<std::string>> environment() const {
    return {{"DOCKER_HOST", engine_->host()}, {"XDG_RUNTIME_DIR", home_ / "run"}};
  }

  nlohmann::json list() const {
    const auto listed = runTidewarden({"docker", "--json"}, environment());
    EXPECT_EQ(listed.code, 0) << listed.err;
    return nlohmann::json::parse(listed.out);
  }

  bool exists(const std::string& kind, const std::string& name) const {
    return engine_->run({kind, "inspect", name}).code == 0;
  }

  FakeHome home_;
  std::unique_ptr<DockerEngine> engine_;
  std::string replacedTool_;
};

}  // namespace

TEST_F(DockerCommand, ListsWhatTheEngineHoldsWithTheSizesDockerReports) {
  buildWorkshop();
  const auto figures = dockerFigures(*engine_);
  const auto output = list();
  EXPECT_TRUE(output["note"].is_null()) << output["note"];

  const auto& images = groupWithId(output, "docker-images");
  EXPECT_EQ(images["title"], "Images");
  // Images containers were made from are never offered; every other one is, sized as docker sizes it.
  const std::vector<std::string> offered{"base:1", "spare:1", "tool:1", "cached:1",
                                         "Dangling image " + replacedTool_.substr(7, 12)};
  EXPECT_THAT(fieldOf(images["items"], "name"), UnorderedElementsAreArray(offered));
  for (const auto& item : images["items"]) {
    const std::string id = item["id"].get<std::string>().substr(std::string("docker:image:").size());
    ASSERT_TRUE(figures.images.contains(id)) << id;
    expectAbout(item["size"], figures.images.at(id).first, item["name"]);
    expectAbout(item["freeable"], figures.images.at(id).second, item["name"]);
    EXPECT_EQ(item["selected"], item["name"].get<std::string>().starts_with("Dangling")) << item["name"];
  }
  EXPECT_EQ(itemNamed(images, "spare:1")["restoreHint"], "docker pull spare:1 (or build it again)");

  const auto& containers = groupWithId(output, "docker-containers");
  EXPECT_THAT(fieldOf(containers["items"], "name"),
              UnorderedElementsAreArray(std::vector<std::string>{"long-stopped", "just-stopped"}));
  EXPECT_TRUE(itemNamed(containers, "long-stopped")["selected"]);  // stopped 40 days ago
  EXPECT_FALSE(itemNamed(containers, "just-stopped")["selected"]);
  expectAbout(itemNamed(containers, "long-stopped")["size"], figures.containers.at("long-stopped"), "long-stopped");
  EXPECT_GE(itemNamed(containers, "long-stopped")["size"].get<std::int64_t>(), 300'000);

  const auto& volumes = groupWithId(output, "docker-volumes");
  ASSERT_EQ(volumes["items"].size(), 1u);  // keep-data is mounted by the running container
  const auto& oldData = volumes["items"][0];
  EXPECT_EQ(oldData["name"], "old-data");
  EXPECT_FALSE(oldData["selected"]);
  EXPECT_EQ(oldData["warning"], "old-data: may hold a database or other data you cannot rebuild");
  expectAbout(oldData["size"], figures.volumes.at("old-data"), "old-data");
  EXPECT_GE(oldData["size"].get<std::int64_t>(), 2'000'000);

  const auto& cache = groupWithId(output, "docker-build-cache");
  ASSERT_FALSE(cache["items"].empty());
  for (const auto& item : cache["items"]) {
    const std::string id = item["id"].get<std::string>().substr(std::string("docker:build-cache:").size());
    ASSERT_TRUE(figures.buildCache.contains(id)) << id;
    expectAbout(item["size"], figures.buildCache.at(id), id);
    EXPECT_FALSE(item["selected"]) << id;  // used minutes ago
  }
}

TEST_F(DockerCommand, CleanSelectedRemovesExactlyThePreselectedObjectsAndNeverAVolume) {
  buildWorkshop();
  const auto before = dockerFigures(*engine_);
  const auto cleaned = runTidewarden({"docker", "clean", "--selected", "--yes", "--json"}, environment());
  ASSERT_EQ(cleaned.code, 0) << cleaned.out << cleaned.err;
  const auto result = nlohmann::json::parse(cleaned.out);
  EXPECT_EQ(result["done"], 2);
  EXPECT_THAT(result["failed"], ::testing::IsEmpty());

  EXPECT_FALSE(exists("image", replacedTool_));
  EXPECT_FALSE(exists("container", "long-stopped"));
  for (const auto* image : {"base:1", "app:1", "spare:1", "tool:1", "cached:1"}) EXPECT_TRUE(exists("image", image));
  for (const auto* container : {"just-stopped", "runner"}) EXPECT_TRUE(exists("container", container));
  for (const auto* volume : {"keep-data", "old-data"}) EXPECT_TRUE(exists("volume", volume));
  EXPECT_EQ(dockerFigures(*engine_).buildCache.size(), before.buildCache.size());

  // Nothing pre-selected is left, so a second run has nothing to do.
  const auto again =
      nlohmann::json::parse(runTidewarden({"docker", "clean", "--selected", "--yes", "--json"}, environment()).out);
  EXPECT_EQ(again["done"], 0);
}

}  // namespace tw::test
