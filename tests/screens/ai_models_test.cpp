#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "screens/ai_models.h"
#include "support/fake_home.h"
#include "support/model_stores.h"
#include "support/provider_lookup.h"

namespace tw::test {
namespace {

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::UnorderedElementsAre;

std::vector<std::string> groupIds(const ProviderResult& result) {
  std::vector<std::string> ids;
  for (const auto& group : result.groups) ids.push_back(group->id);
  return ids;
}

}  // namespace

TEST(AIModels, FindsEveryToolsModelsOneItemEachAndPreselectsNoWholeModel) {
  FakeHome home;
  home.file(".lmstudio/models/lmstudio-community/Qwen-7B-GGUF/qwen-7b-q4.gguf", 300'000);
  home.file(".lmstudio/models/lmstudio-community/Qwen-7B-GGUF/qwen-7b-q8.gguf", 500'000);
  home.file(".lmstudio/models/bartowski/Llama-3-8B-GGUF/llama.gguf", 200'000);
  home.file(".cache/lm-studio/models/old/Mistral/mistral.gguf", 100'000);
  home.file("torch/hub/checkpoints/resnet50-0676ba61.pth", 250'000);
  home.file("torch/hub/pytorch_vision_v0.10.0/hubconf.py", 2'000);
  home.file("torch/hub/trusted_list", 10);
  home.file("xdg-cache/whisper/base.en.pt", 150'000);
  home.file("xdg-cache/whisper/notes.txt", 10);
  home.file(".local/share/nomic.ai/GPT4All/orca-mini-3b.gguf", 120'000);
  home.file(".local/share/nomic.ai/GPT4All/localdocs_v2.db", 10);
  setTimesAgo(home / "xdg-cache/whisper/base.en.pt", std::chrono::hours(24 * 90));

  const Environment env{{"TORCH_HOME", home / "torch"}, {"XDG_CACHE_HOME", home / "xdg-cache"}};
  const auto result = AIModels::scan(linuxModelLocations(), home.context(env));
  EXPECT_FALSE(result.note);
  EXPECT_THAT(
      groupIds(result),
      UnorderedElementsAre("lm-studio:" + home / ".lmstudio/models", "lm-studio:" + home / ".cache/lm-studio/models",
                           "torch-hub:" + home / "torch/hub", "whisper:" + home / "xdg-cache/whisper",
                           "gpt4all:" + home / ".local/share/nomic.ai/GPT4All"));
  const auto& studio = groupWithId(result.groups, "lm-studio:" + home / ".lmstudio/models");
  EXPECT_EQ(studio.title, "LM Studio");
  EXPECT_THAT(itemNames(studio), ElementsAre("lmstudio-community/Qwen-7B-GGUF", "bartowski/Llama-3-8B-GGUF"));
  EXPECT_GE(*studio.items()[0].freeable, 800'000);
  EXPECT_THAT(itemNames(groupWithId(result.groups, "torch-hub:" + home / "torch/hub")),
              ElementsAre("resnet50-0676ba61.pth", "pytorch_vision_v0.10.0"));
  const auto& whisper = groupWithId(result.groups, "whisper:" + home / "xdg-cache/whisper");
  EXPECT_THAT(itemNames(whisper), ElementsAre("base.en.pt"));
  EXPECT_THAT(whisper.items()[0].detail, HasSubstr("last used 3 months ago"));
  EXPECT_THAT(itemNames(groupWithId(result.groups, "gpt4all:" + home / ".local/share/nomic.ai/GPT4All")),
              ElementsAre("orca-mini-3b.gguf"));
  for (const auto& group : result.groups) {
    for (const auto& item : group->items()) {
      EXPECT_FALSE(item.selected) << item.name;
      EXPECT_TRUE(std::holds_alternative<DevAction::RemovePaths>(item.action.value)) << item.name;
    }
  }

  // The model goes as a whole; nothing beside it does.
  ASSERT_EQ(studio.items()[1].action.perform(home.context()).error(), std::nullopt);
  EXPECT_FALSE(exists(home / ".lmstudio/models/bartowski/Llama-3-8B-GGUF"));
  EXPECT_TRUE(exists(home / ".lmstudio/models/bartowski"));
  EXPECT_TRUE(exists(home / ".lmstudio/models/lmstudio-community/Qwen-7B-GGUF/qwen-7b-q8.gguf"));
}

TEST(AIModels, EachToolsOwnVariablesDecideWhereItsStoreIs) {
  FakeHome home;
  HubCacheBuilder chosen(home / "hub-cache");
  const std::string repo = chosen.repoFolder("model", "org/picked");
  chosen.revision(repo, "c1", {{"w.bin", {repo, chosen.blob(repo, 5000, 'p')}}});
  chosen.ref(repo, "main", "c1");
  HubCacheBuilder ignored(home / "hf-home/hub");
  const std::string other = ignored.repoFolder("model", "org/ignored");
  ignored.revision(other, "c1", {{"w.bin", {other, ignored.blob(other, 5000, 'i')}}});
  ignored.ref(other, "main", "c1");
  OllamaStoreBuilder ollama(home / "ollama-models");
  ollama.manifest("registry.ollama.ai/library/phi/latest", ollama.blob(100, 'c'), {ollama.blob(4000, 'w')});

  const auto result = AIModels::scan(linuxModelLocations(), home.context({{"HF_HUB_CACHE", "~/hub-cache"},
                                                                          {"HF_HOME", home / "hf-home"},
                                                                          {"OLLAMA_MODELS", home / "ollama-models"}}));
  EXPECT_THAT(itemNames(groupWithId(result.groups, "huggingface")), ElementsAre("org/picked"));
  EXPECT_THAT(itemNames(groupWithId(result.groups, "ollama:" + home / "ollama-models")), ElementsAre("phi:latest"));

  // HF_HOME comes next, and a relative value counts as unset.
  const auto fallback = AIModels::scan(
      linuxModelLocations(), home.context({{"HF_HUB_CACHE", "relative/path"}, {"HF_HOME", home / "hf-home"}}));
  EXPECT_THAT(itemNames(groupWithId(fallback.groups, "huggingface")), ElementsAre("org/ignored"));
}

TEST(AIModels, BothPlatformTablesAreComplete) {
  for (const auto* table : {&linuxModelLocations(), &macOSModelLocations()}) {
    std::set<ModelLocations::Store> stores;
    for (const auto& place : table->places) {
      EXPECT_FALSE(place.candidates.empty()) << table->name;
      stores.insert(place.store);
    }
    EXPECT_EQ(stores.size(), 6u) << table->name;
  }
  FakeHome home;
  home.file("Library/Application Support/nomic.ai/GPT4All/falcon.gguf", 1000);
  const auto mac = AIModels::scan(macOSModelLocations(), home.context({}));
  EXPECT_THAT(itemNames(groupWithId(mac.groups, "gpt4all:" + home / "Library/Application Support/nomic.ai/GPT4All")),
              ElementsAre("falcon.gguf"));
}

TEST(AIModels, NothingFoundIsSaidInTheNote) {
  FakeHome home;
  const auto result = AIModels::scan(linuxModelLocations(), home.context({}));
  EXPECT_TRUE(result.groups.empty());
  EXPECT_EQ(result.note,
            "No local models found in the Hugging Face, Ollama, LM Studio, PyTorch hub, Whisper or GPT4All folders.");
}

}  // namespace tw::test
