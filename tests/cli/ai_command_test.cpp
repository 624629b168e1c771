#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <filesystem>
#include <nlohmann/json.hpp>

#include "screens/ollama_store.h"
#include "support/fake_home.h"
#include "support/loop_volume.h"
#include "support/model_stores.h"
#include "support/screen_output.h"

namespace tw::test {
namespace {

using ::testing::IsEmpty;
using ::testing::UnorderedElementsAre;

constexpr auto longAgo = std::chrono::hours(24 * 60);
constexpr std::int64_t MiB = 1 << 20;

// Each store on a file system of its own, mounted inside the fake home, so that the free
// space it reports moves only with what the command removes.
class AICommand : public ::testing::Test {
 protected:
  void SetUp() override {
    std::string whyNot;
    hubVolume_ = LoopVolume::mount(LoopVolume::Kind::tmpfs, 64 * MiB, whyNot, home_.folder(".cache/huggingface"));
    if (hubVolume_) {
      ollamaVolume_ = LoopVolume::mount(LoopVolume::Kind::tmpfs, 64 * MiB, whyNot, home_.folder(".ollama"));
    }
    if (!hubVolume_ || !ollamaVolume_) GTEST_SKIP() << whyNot;
  }

  FakeHome home_;
  std::unique_ptr<LoopVolume> hubVolume_;
  std::unique_ptr<LoopVolume> ollamaVolume_;
};

}  // namespace

TEST_F(AICommand, CleanSelectedFreesExactlyTheLeftoversBlocksAndNoRemainingModelLosesAFile) {
  HubCacheBuilder hub(home_ / ".cache/huggingface/hub");
  const std::string alpha = hub.repoFolder("model", "org/alpha");
  const std::string beta = hub.repoFolder("model", "org/beta");
  const std::string oldWeights = hub.blob(alpha, 2 * MiB + 123, 'a');
  const std::string weights = hub.blob(alpha, 3 * MiB, 'b');
  const std::string shared = hub.blob(alpha, 300'000, 's');
  hub.revision(alpha, "1111", {{"model.safetensors", {alpha, weights}}, {"tokenizer.json", {alpha, shared}}});
  hub.revision(alpha, "0000", {{"model.safetensors", {alpha, oldWeights}}, {"tokenizer.json", {alpha, shared}}});
  hub.ref(alpha, "main", "1111");
  hub.revision(beta, "2222",
               {{"model.safetensors", {beta, hub.blob(beta, MiB, 'c')}}, {"tokenizer.json", {alpha, shared}}});
  hub.ref(beta, "main", "2222");
  const std::string unfinished = hub.incomplete(beta, 700'000);
  setTimesAgo(alpha + "/blobs/" + oldWeights, longAgo);
  setTimesAgo(unfinished, longAgo);

  OllamaStoreBuilder ollama(home_ / ".ollama/models");
  const std::string layer = ollama.blob(150'000, 't');
  ollama.manifest("registry.ollama.ai/library/llama3/latest", ollama.blob(500, 'c'),
                  {ollama.blob(2 * MiB, 'w'), layer});
  ollama.manifest("registry.ollama.ai/library/phi/latest", ollama.blob(600, 'd'), {ollama.blob(MiB, 'x'), layer});
  const std::string orphan = ollama.blobPath(ollama.blob(900'000, 'o'));
  setTimesAgo(orphan, longAgo);

  const auto listed = runTidewarden({"ai", "--selected", "--json"});
  ASSERT_EQ(listed.code, 0) << listed.err;
  const auto selected = nlohmann::json::parse(listed.out);
  std::vector<std::string> ids;
  for (const auto& group : selected["groups"]) {
    for (const auto& item : group["items"]) ids.push_back(item["id"]);
  }
  EXPECT_THAT(ids, UnorderedElementsAre(alpha + "/snapshots/0000", unfinished, orphan));
  const std::int64_t expected = blocksOf(alpha + "/blobs/" + oldWeights) + blocksOf(unfinished) + blocksOf(orphan);
  EXPECT_EQ(selected["selected"], expected);

  const std::int64_t hubFree = hubVolume_->freeBytes();
  const std::int64_t ollamaFree = ollamaVolume_->freeBytes();
  const auto cleaned = runTidewarden({"ai", "clean", "--selected", "--yes", "--json"});
  ASSERT_EQ(cleaned.code, 0) << cleaned.out << cleaned.err;
  const auto result = nlohmann::json::parse(cleaned.out);
  EXPECT_EQ(result["done"], 3);
  EXPECT_EQ(result["freed"], expected);
  // The blocks really given back, to the byte.
  EXPECT_EQ(hubVolume_->freeBytes() - hubFree + ollamaVolume_->freeBytes() - ollamaFree, expected);

  EXPECT_FALSE(exists(alpha + "/blobs/" + oldWeights));
  EXPECT_TRUE(exists(alpha + "/blobs/" + shared));
  EXPECT_THAT(brokenLinksBelow(hub.hub()), IsEmpty());
  EXPECT_THAT(missingLayers(ollama.folder()), IsEmpty());
}

TEST(AIScreenOutput, NamesThatAreNotUtf8StillGiveValidJsonAndText) {
  FakeHome home;
  home.file(".lmstudio/models/caf\xe9/model \xff.gguf", 4096);
  const auto listed = runTidewarden({"ai", "--json"});
  ASSERT_EQ(listed.code, 0) << listed.err;
  const auto output = nlohmann::json::parse(listed.out);  // throws on bytes that are not UTF-8
  EXPECT_EQ(output["groups"][0]["items"][0]["name"], "caf\ufffd/model \ufffd.gguf");
  const auto text = runTidewarden({"ai"});
  ASSERT_EQ(text.code, 0);
  EXPECT_THAT(text.out, ::testing::HasSubstr("caf\ufffd/model \ufffd.gguf"));
}

}  // namespace tw::test
