#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>

#include "screens/model_groups.h"
#include "screens/ollama_store.h"
#include "support/canned_http_server.h"
#include "support/fake_home.h"
#include "support/model_stores.h"
#include "support/provider_lookup.h"

namespace tw::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::UnorderedElementsAre;

// Two models sharing their template and licence layers, a blob no manifest names any more
// (left two months ago), and a pull that is still writing.
struct Store {
  explicit Store(const std::string& folder) : store(folder) {
    llamaWeights = store.blob(3'000'000, 'w');
    tinyWeights = store.blob(1'000'000, 'x');
    llamaConfig = store.blob(500, 'c');
    tinyConfig = store.blob(600, 'd');
    sharedTemplate = store.blob(1'200, 't');
    licence = store.blob(9'000, 'l');
    llama = store.manifest("registry.ollama.ai/library/llama3/latest", llamaConfig,
                           {llamaWeights, sharedTemplate, licence});
    tiny = store.manifest("registry.ollama.ai/someone/tiny/q4", tinyConfig, {tinyWeights, sharedTemplate, licence});
    orphan = store.blobPath(store.blob(800'000, 'o'));
    setTimesAgo(orphan, std::chrono::hours(24 * 60));
    partial = store.blobPath(fakeDigest("partial", 1)) + "-partial";
    writeFilledFile(partial, 300'000, 'p');
  }

  OllamaStoreBuilder store;
  std::string llamaWeights, tinyWeights, llamaConfig, tinyConfig, sharedTemplate, licence;
  std::string llama, tiny, orphan, partial;
};

std::string sha256Of(const std::string& path) {
  const auto result = runProcess({"sha256sum", path});
  return result.out.substr(0, 64);
}

}  // namespace

TEST(OllamaStore, ReadsManifestsAndKnowsWhichBlobsEachModelAloneNeeds) {
  FakeHome home;
  const Store fixture(home / ".ollama/models");
  const auto store = OllamaStore::read(fixture.store.folder());
  ASSERT_EQ(store.models().size(), 2u);
  EXPECT_EQ(store.models()[0].name, "llama3:latest");
  EXPECT_EQ(store.models()[1].name, "someone/tiny:q4");
  EXPECT_EQ(store.models()[0].digest, "sha256:" + sha256Of(fixture.llama));
  EXPECT_THAT(store.removalPaths(0), UnorderedElementsAre(fixture.llama, fixture.store.blobPath(fixture.llamaWeights),
                                                          fixture.store.blobPath(fixture.llamaConfig)));
  std::vector<std::string> orphans;
  for (const std::size_t index : store.orphans()) orphans.push_back(store.blobs()[index].path);
  EXPECT_THAT(orphans, UnorderedElementsAre(fixture.orphan, fixture.partial));
  EXPECT_EQ(OllamaStore::displayName("ghcr.io/org/model/v2"), "ghcr.io/org/model:v2");
}

TEST(OllamaGroups, SharedLayersCountAsSizeOnlyAndOnlyStaleOrphansArePreselected) {
  FakeHome home;
  const Store fixture(home / ".ollama/models");
  const auto groups =
      ollamaGroups(fixture.store.folder(), std::nullopt, std::chrono::system_clock::now(), home.context());
  ASSERT_EQ(groups.size(), 2u);
  EXPECT_EQ(groups[0]->title, "Ollama");
  EXPECT_EQ(groups[1]->title, "Ollama orphaned downloads");

  const auto& llama = itemNamed(*groups[0], "llama3:latest");
  EXPECT_FALSE(llama.selected);
  EXPECT_EQ(llama.freeable, blocksOf(fixture.llama) + blocksOf(fixture.store.blobPath(fixture.llamaWeights)) +
                                blocksOf(fixture.store.blobPath(fixture.llamaConfig)));
  EXPECT_EQ(*llama.size, *llama.freeable + blocksOf(fixture.store.blobPath(fixture.sharedTemplate)) +
                             blocksOf(fixture.store.blobPath(fixture.licence)));
  EXPECT_EQ(llama.restoreHint, "ollama pull llama3:latest");
  EXPECT_THAT(llama.badges, ElementsAre(Badge{"shares layers", Badge::Tone::info}));

  for (const auto& item : groups[1]->items()) {
    EXPECT_EQ(item.selected, item.id == fixture.orphan) << item.name;  // the running pull is left alone
    EXPECT_EQ(item.freeable, blocksOf(item.id));
  }
}

TEST(OllamaRemoval, ARemovedModelTakesOnlyWhatNoRemainingManifestNames) {
  FakeHome home;
  Store fixture(home / ".ollama/models");
  const auto groups =
      ollamaGroups(fixture.store.folder(), std::nullopt, std::chrono::system_clock::now(), home.context());
  ASSERT_EQ(itemNamed(*groups[0], "llama3:latest").action.perform(home.context()).error(), std::nullopt);
  EXPECT_FALSE(exists(fixture.llama));
  EXPECT_FALSE(exists(fixture.store.blobPath(fixture.llamaWeights)));
  EXPECT_TRUE(exists(fixture.store.blobPath(fixture.sharedTemplate)));
  EXPECT_TRUE(exists(fixture.store.blobPath(fixture.licence)));
  EXPECT_THAT(missingLayers(fixture.store.folder()), IsEmpty());

  // A model pulled after the list names the orphan: it is no orphan any more, and stays.
  const auto& orphan = groups[1]->items()[0];
  ASSERT_EQ(orphan.id, fixture.orphan);
  fixture.store.manifest("registry.ollama.ai/library/late/latest", fixture.tinyConfig,
                         {fixture.orphan.substr(fixture.orphan.size() - 64)});
  EXPECT_EQ(orphan.action.perform(home.context()).error(), std::nullopt);
  EXPECT_TRUE(exists(fixture.orphan));
  EXPECT_THAT(missingLayers(fixture.store.folder()), IsEmpty());
}

TEST(OllamaServer, ModelsTheRunningServerListsUnchangedAreRemovedWithOllamaRm) {
  FakeHome home;
  const Store fixture(home / ".ollama/models");
  CannedHttpServer server;
  server.answer("GET /api/tags",
                {200, R"({"models": [{"name": "llama3:latest", "digest": ")" + sha256Of(fixture.llama) +
                          R"("}, {"name": "someone/tiny:q4", "digest": "0123"}]})"});
  const std::string ollama = writeExecutable(home / "tools/ollama", "#!/bin/sh\necho \"$@\" >> \"$0.log\"\n");
  const Environment env{{"OLLAMA_HOST", "127.0.0.1:" + std::to_string(server.port())}};
  const auto found = OllamaServer::find(env, ollama);
  ASSERT_TRUE(found);
  const auto groups = ollamaGroups(fixture.store.folder(), found, std::chrono::system_clock::now(), home.context());

  const auto* removal = std::get_if<DevAction::Commands>(&itemNamed(*groups[0], "llama3:latest").action.value);
  ASSERT_TRUE(removal);
  EXPECT_THAT(removal->commands.front(), ElementsAre(ollama, "rm", "llama3:latest"));
  EXPECT_EQ(itemNamed(*groups[0], "llama3:latest").action.perform(home.context()).error(), std::nullopt);
  EXPECT_EQ(readFile(ollama + ".log"), "rm llama3:latest\n");
  // The server's copy of tiny differs from the one on disk: the server can't remove this one.
  EXPECT_TRUE(std::holds_alternative<DevAction::Custom>(itemNamed(*groups[0], "someone/tiny:q4").action.value));

  EXPECT_FALSE(OllamaServer::find(env, std::nullopt));  // no tool, no server removal
  EXPECT_FALSE(OllamaServer::find({{"OLLAMA_HOST", "127.0.0.1:1"}}, ollama));
}

TEST(OllamaServer, AddressFollowsOllamaHostAndStaysOnThisMachine) {
  const std::vector<std::pair<std::string, std::optional<std::string>>> cases{
      {"", "http://127.0.0.1:11434"},
      {"0.0.0.0", "http://127.0.0.1:11434"},
      {"0.0.0.0:9000", "http://127.0.0.1:9000"},
      {"http://localhost:1234/base", "http://localhost:1234"},
      {"[::1]:5", "http://[::1]:5"},
      {":8080", "http://127.0.0.1:8080"},
      {"10.0.0.5:11434", std::nullopt},
      {"https://127.0.0.1", std::nullopt},
  };
  for (const auto& [value, expected] : cases) {
    EXPECT_EQ(OllamaServer::baseAddress({{"OLLAMA_HOST", value}}), expected) << value;
  }
  EXPECT_EQ(OllamaServer::baseAddress({}), "http://127.0.0.1:11434");
}

TEST(OllamaStore, DamagedOrHostileManifestsNameNothing) {
  FakeHome home;
  OllamaStoreBuilder store(home / "models");
  const std::string weights = store.blob(4096, 'w');
  writeFile(store.folder() + "/manifests/registry.ollama.ai/library/broken/latest", "{not json");
  writeFile(store.folder() + "/manifests/registry.ollama.ai/library/escape/latest",
            R"({"config": {"digest": "sha256:../../../../etc/passwd"}, "layers": [{"digest": "md5:abc"}]})");
  store.manifest("registry.ollama.ai/library/gap/latest", weights, {fakeDigest("gone", 1)});
  std::filesystem::create_symlink(store.folder() + "/manifests/registry.ollama.ai/library/gap/latest",
                                  store.folder() + "/manifests/registry.ollama.ai/library/gap/linked");
  const auto read = OllamaStore::read(store.folder());
  ASSERT_EQ(read.models().size(), 1u);
  EXPECT_EQ(read.models()[0].name, "gap:latest");
  EXPECT_THAT(read.models()[0].missing, ElementsAre("sha256-" + fakeDigest("gone", 1)));
  EXPECT_THAT(read.removalPaths(0), ElementsAre(store.folder() + "/manifests/registry.ollama.ai/library/gap/latest",
                                                store.blobPath(weights)));
  EXPECT_TRUE(OllamaStore::read(home / "nothing-here").models().empty());
}

}  // namespace tw::test
