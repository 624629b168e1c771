#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include "core/local_http.h"
#include "core/shell.h"
#include "screens/docker.h"
#include "support/docker_engine.h"
#include "support/fake_home.h"
#include "support/provider_lookup.h"
#include "support/service_process.h"

namespace tw::test {
namespace {

using ::testing::HasSubstr;
using Engine = DockerDeep::Engine;

std::vector<DevGroupPtr> groupsOf(const Engine& engine, const std::optional<std::string>& cli) {
  DockerDeep::Failure failure;
  const auto snapshot = DockerDeep::read(engine, failure);
  EXPECT_TRUE(snapshot) << failure.sentence;
  if (!snapshot) return {};
  return DockerDeep::groups(engine, *snapshot, cli, std::chrono::system_clock::now());
}

// A Podman API service of its own: storage, run state and socket under one temporary folder.
class PodmanService {
 public:
  static std::unique_ptr<PodmanService> start(const std::string& socket, std::string& whyNot) {
    if (::geteuid() != 0) {
      whyNot = "a Podman service with its own storage needs root here";
      return nullptr;
    }
    if (runProcess({"sh", "-c", "command -v podman"}).code != 0) {
      whyNot = "podman is not installed";
      return nullptr;
    }
    std::unique_ptr<PodmanService> service(new PodmanService);
    service->socket_ = socket;
    auto command = service->podman({"system", "service", "--time=0", "unix://" + socket});
    service->process_ = ServiceProcess::start(command, service->folder_.path() + "/service.log", whyNot);
    if (!service->process_) return nullptr;
    for (int tries = 0; tries < 200; ++tries) {
      if (LocalHttp::request({socket, "http://localhost"}, "GET", "/_ping", 1).succeeded()) return service;
      if (!service->process_->running()) break;
      ::usleep(50'000);
    }
    whyNot = "the Podman service did not come up: " + service->process_->logTail();
    return nullptr;
  }

  // Podman itself, on this service's storage.
  std::vector<std::string> podman(const std::vector<std::string>& arguments) const {
    std::vector<std::string> command{
        "podman",           "--root", folder_ / "root",   "--runroot", folder_ / "run",    "--tmpdir", folder_ / "tmp",
        "--storage-driver", "vfs",    "--events-backend", "file",      "--cgroup-manager", "cgroupfs"};
    command.insert(command.end(), arguments.begin(), arguments.end());
    return command;
  }
  std::string run(const std::vector<std::string>& arguments) const {
    const auto result = runProcess(podman(arguments));
    EXPECT_EQ(result.code, 0) << result.err;
    return result.out;
  }
  void importBusybox(const std::string& tag) const {
    const std::string root = folder_ / ("image-" + tag.substr(0, tag.find(':')));
    writeExecutable(root + "/bin/busybox", readFile("/bin/busybox"));
    std::string command;
    for (const auto& part : podman({"import", "-", tag})) command += "'" + part + "' ";
    const auto imported = runProcess({"sh", "-c", "tar -C '" + root + "' -c . | " + command});
    EXPECT_EQ(imported.code, 0) << imported.err;
  }

 private:
  PodmanService() = default;

  TempFolder folder_{"twpm"};
  std::string socket_;
  std::unique_ptr<ServiceProcess> process_;
};

}  // namespace

TEST(DockerEngineRemoval, WithoutACliTheApiRemovesEachKindOfObjectButNothingThatCameIntoUse) {
  FakeHome home;
  std::string whyNot;
  auto engine = DockerEngine::start(whyNot);
  if (!engine) GTEST_SKIP() << whyNot;
  engine->importBusybox("base:1");
  engine->build("spare:1", "FROM base:1\nCOPY spare /spare\n", {{"spare", std::string(500'000, 's')}});
  engine->build("late:1", "FROM base:1\nCOPY late /late\n", {{"late", std::string(400'000, 'l')}});
  engine->build("cached:1", "FROM base:1\nCOPY blob /blob\n", {{"blob", std::string(300'000, 'c')}}, true);
  engine->docker({"volume", "create", "scratch-data"});
  engine->docker({"run", "--network", "none", "--name", "done", "base:1", "/bin/busybox", "true"});

  const Engine target{Engine::Kind::docker, engine->socket()};
  const auto groups = groupsOf(target, std::nullopt);
  const auto& spare = itemNamed(groupWithId(groups, "docker-images"), "spare:1");
  const auto& late = itemNamed(groupWithId(groups, "docker-images"), "late:1");
  const auto& stopped = itemNamed(groupWithId(groups, "docker-containers"), "done");
  const auto& volume = itemNamed(groupWithId(groups, "docker-volumes"), "scratch-data");
  const auto& record = groupWithId(groups, "docker-build-cache").items().front();  // the largest entry
  const std::string recordId = record.id.substr(std::string("docker:build-cache:").size());

  // Made into a container after the list was read: the engine refuses, and nothing is forced.
  engine->docker({"create", "--name", "newcomer", "late:1", "/bin/busybox", "true"});
  const auto refused = late.action.perform(home.context()).error();
  ASSERT_TRUE(refused);
  EXPECT_THAT(*refused, HasSubstr("conflict"));
  EXPECT_EQ(engine->run({"image", "inspect", "late:1"}).code, 0);

  for (const auto* item : {&spare, &stopped, &volume, &record}) {
    EXPECT_EQ(item->action.perform(home.context()).error(), std::nullopt) << item->name;
  }
  EXPECT_NE(engine->run({"image", "inspect", "spare:1"}).code, 0);
  EXPECT_NE(engine->run({"container", "inspect", "done"}).code, 0);
  EXPECT_NE(engine->run({"volume", "inspect", "scratch-data"}).code, 0);
  EXPECT_THAT(engine->docker({"system", "df", "--verbose", "--format", "{{json .BuildCache}}"}),
              ::testing::Not(HasSubstr(recordId)));
  // Removing again finds nothing to remove, which is no failure.
  EXPECT_EQ(spare.action.perform(home.context()).error(), std::nullopt);

  // The command-line tool, told this engine's socket, refuses the same way.
  if (const auto cli = Shell::which("docker", home.context())) {
    const auto withCli = groupsOf(target, cli);
    const auto& lateByCli = itemNamed(groupWithId(withCli, "docker-images"), "cached:1");
    engine->docker({"create", "--name", "second", "cached:1", "/bin/busybox", "true"});
    EXPECT_THAT(lateByCli.action.perform(home.context()).reason, HasSubstr("conflict"));
    EXPECT_EQ(engine->run({"image", "inspect", "cached:1"}).code, 0);
  }
}

TEST(PodmanScreen, PodmansSocketIsReadAsAnEngineOfItsOwnBesideDockersNote) {
  FakeHome home;
  const std::string runtime = home.folder("run");
  makeFolders(runtime + "/podman");
  std::string whyNot;
  const auto podman = PodmanService::start(runtime + "/podman/podman.sock", whyNot);
  if (!podman) GTEST_SKIP() << whyNot;
  podman->importBusybox("pbase:1");
  podman->importBusybox("pspare:1");
  podman->run({"create", "--name", "pstopped", "pbase:1", "/bin/busybox", "true"});
  podman->run({"volume", "create", "pdata"});

  const auto result = DockerDeep::scan(
      linuxDockerLocations(),
      home.context({{"DOCKER_HOST", "unix://" + home / "no-docker.sock"}, {"XDG_RUNTIME_DIR", runtime}}));
  ASSERT_TRUE(result.note);
  EXPECT_THAT(*result.note, HasSubstr("Docker isn't running"));
  const auto& spare = itemNamed(groupWithId(result.groups, "podman-images"), "localhost/pspare:1");
  EXPECT_FALSE(findItem(result.groups, "localhost/pbase:1"));  // pstopped was made from it
  EXPECT_EQ(itemNamed(groupWithId(result.groups, "podman-containers"), "pstopped").badges.front().text, "created");
  const auto& volume = itemNamed(groupWithId(result.groups, "podman-volumes"), "pdata");
  EXPECT_FALSE(volume.selected);

  for (const auto* item : {&spare, &volume})
    ASSERT_EQ(item->action.perform(home.context()).error(), std::nullopt) << item->name;
  EXPECT_THAT(podman->run({"volume", "ls", "--quiet"}), ::testing::Not(HasSubstr("pdata")));
  EXPECT_THAT(podman->run({"images", "--quiet", "--noheading"}),
              ::testing::Not(HasSubstr(spare.id.substr(std::string("podman:image:").size(), 12))));
}

}  // namespace tw::test
