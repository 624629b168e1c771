#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>

#include "fs/file_io.h"
#include "screens/hf_cache.h"
#include "screens/model_groups.h"
#include "support/fake_home.h"
#include "support/loop_volume.h"
#include "support/model_stores.h"
#include "support/provider_lookup.h"

namespace tw::test {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using ::testing::UnorderedElementsAre;

constexpr auto longAgo = std::chrono::hours(24 * 60);

// Two models sharing a tokenizer blob (beta links into alpha's blobs), a detached revision
// of alpha, an unfinished download in beta, and a dataset with two refs on one commit.
struct Hub {
  explicit Hub(const std::string& folder) : cache(folder) {
    alpha = cache.repoFolder("model", "org/alpha");
    beta = cache.repoFolder("model", "org/beta");
    corpus = cache.repoFolder("dataset", "org/corpus");
    oldWeights = cache.blob(alpha, 2'000'000, 'a');
    weights = cache.blob(alpha, 3'000'000, 'b');
    config = cache.blob(alpha, 10'000, 'c');
    tokenizer = cache.blob(alpha, 500'000, 't');
    cache.revision(alpha, mainCommit,
                   {{"model.safetensors", {alpha, weights}},
                    {"config.json", {alpha, config}},
                    {"tokenizer/tokenizer.json", {alpha, tokenizer}}});
    cache.revision(alpha, oldCommit, {{"model.safetensors", {alpha, oldWeights}}, {"config.json", {alpha, config}}});
    cache.ref(alpha, "main", mainCommit);
    betaWeights = cache.blob(beta, 1'000'000, 'd');
    cache.revision(beta, betaCommit,
                   {{"model.safetensors", {beta, betaWeights}}, {"tokenizer.json", {alpha, tokenizer}}});
    cache.ref(beta, "main", betaCommit);
    unfinished = cache.incomplete(beta, 700'000);
    const std::string rows = cache.blob(corpus, 200'000, 'r');
    cache.revision(corpus, corpusCommit, {{"data/train.parquet", {corpus, rows}}});
    cache.ref(corpus, "main", corpusCommit);
    cache.ref(corpus, "v1.0", corpusCommit);
    // The old revision and the unfinished download were last touched two months ago.
    setTimesAgo(blobPath(alpha, oldWeights), longAgo);
    setTimesAgo(unfinished, longAgo);
  }

  [[nodiscard]] std::string blobPath(const std::string& repo, const std::string& hash) const {
    return repo + "/blobs/" + hash;
  }
  [[nodiscard]] std::string snapshot(const std::string& repo, const std::string& commit) const {
    return repo + "/snapshots/" + commit;
  }

  HubCacheBuilder cache;
  std::string alpha, beta, corpus, oldWeights, weights, config, tokenizer, betaWeights, unfinished;
  const std::string mainCommit = fakeDigest("main", 1).substr(0, 40);
  const std::string oldCommit = fakeDigest("old", 2).substr(0, 40);
  const std::string betaCommit = fakeDigest("beta", 3).substr(0, 40);
  const std::string corpusCommit = fakeDigest("corpus", 4).substr(0, 40);
};

std::size_t repoIndex(const HfCache& cache, const std::string& path) { return *cache.repoAt(path); }

}  // namespace

TEST(HuggingFaceCache, ReadsRepositoriesRevisionsAndCountsEveryLinkAcrossTheWholeCache) {
  FakeHome home;
  const Hub hub(home / ".cache/huggingface/hub");
  const auto cache = HfCache::read(hub.cache.hub());
  ASSERT_EQ(cache.repos().size(), 3u);
  const auto& alpha = cache.repos()[repoIndex(cache, hub.alpha)];
  EXPECT_EQ(alpha.id, "org/alpha");
  EXPECT_EQ(alpha.type, "model");
  EXPECT_EQ(HfCache::target(alpha), "model/org/alpha");
  EXPECT_EQ(cache.repos()[repoIndex(cache, hub.corpus)].type, "dataset");
  ASSERT_EQ(alpha.revisions.size(), 2u);
  for (const std::size_t index : alpha.revisions) {
    const auto& revision = cache.revisions()[index];
    EXPECT_EQ(revision.refs,
              revision.commit == hub.mainCommit ? std::vector<std::string>{"main"} : std::vector<std::string>{});
  }
  for (const auto& blob : cache.blobs()) {
    const bool sharedByTwo =
        blob.path == hub.blobPath(hub.alpha, hub.tokenizer) || blob.path == hub.blobPath(hub.alpha, hub.config);
    if (sharedByTwo) {
      EXPECT_EQ(blob.revisions.size(), 2u) << blob.path;
    } else if (blob.path == hub.unfinished) {
      EXPECT_TRUE(blob.incomplete && blob.revisions.empty());
    } else {
      EXPECT_LE(blob.revisions.size(), 1u) << blob.path;
    }
  }

  // Beta links into alpha's tokenizer: removing alpha keeps that one blob.
  EXPECT_THAT(cache.removalPaths(repoIndex(cache, hub.alpha), {}, true),
              UnorderedElementsAre(hub.alpha + "/snapshots", hub.alpha + "/refs", hub.alpha + "/.no_exist",
                                   hub.blobPath(hub.alpha, hub.weights), hub.blobPath(hub.alpha, hub.oldWeights),
                                   hub.blobPath(hub.alpha, hub.config)));
  // Nothing links into beta, so it goes whole, unfinished download included.
  EXPECT_THAT(cache.removalPaths(repoIndex(cache, hub.beta), {}, true), ElementsAre(hub.beta));
  // The detached revision takes only what no other revision links to.
  EXPECT_THAT(cache.removalPaths(repoIndex(cache, hub.alpha), {hub.oldCommit}, false),
              UnorderedElementsAre(hub.snapshot(hub.alpha, hub.oldCommit), hub.alpha + "/.no_exist/" + hub.oldCommit,
                                   hub.blobPath(hub.alpha, hub.oldWeights)));
}

TEST(HuggingFaceGroup, OffersModelsAndPreselectsOnlyStaleDetachedRevisionsAndUnfinishedDownloads) {
  FakeHome home;
  const Hub hub(home / ".cache/huggingface/hub");
  const std::string hf = writeExecutable(home / "tools/hf", "#!/bin/sh\necho \"$@\" >> \"$0.log\"\n");
  const auto group = huggingFaceGroup(hub.cache.hub(), hf, std::chrono::system_clock::now(), home.context());
  ASSERT_TRUE(group);
  EXPECT_EQ(group->id, "huggingface");
  EXPECT_EQ(group->title, "Hugging Face");
  ASSERT_EQ(group->items().size(), 5u);

  const auto& alpha = itemWithId(*group, hub.alpha);
  EXPECT_EQ(alpha.name, "org/alpha");
  EXPECT_FALSE(alpha.selected);
  EXPECT_EQ(alpha.freeable,
            blocksOf(hub.blobPath(hub.alpha, hub.weights)) + blocksOf(hub.blobPath(hub.alpha, hub.oldWeights)) +
                blocksOf(hub.blobPath(hub.alpha, hub.config)) +
                blocksOf(hub.snapshot(hub.alpha, hub.mainCommit) + "/model.safetensors") +
                blocksOf(hub.snapshot(hub.alpha, hub.mainCommit) + "/config.json") +
                blocksOf(hub.snapshot(hub.alpha, hub.mainCommit) + "/tokenizer/tokenizer.json") +
                blocksOf(hub.snapshot(hub.alpha, hub.oldCommit) + "/model.safetensors") +
                blocksOf(hub.snapshot(hub.alpha, hub.oldCommit) + "/config.json") + blocksOf(hub.alpha + "/refs/main"));
  EXPECT_GT(*alpha.size, *alpha.freeable);  // the shared tokenizer counts as size only
  EXPECT_EQ(alpha.restoreHint, "hf download org/alpha");
  // Another model links into it, so it is removed here, not by the hub's tool.
  EXPECT_TRUE(std::holds_alternative<DevAction::Custom>(alpha.action.value));

  const auto& beta = itemWithId(*group, hub.beta);
  const auto* command = std::get_if<DevAction::Commands>(&beta.action.value);
  ASSERT_TRUE(command);
  EXPECT_THAT(command->commands.front(),
              ElementsAre(hf, "cache", "rm", "model/org/beta", "--cache-dir", hub.cache.hub(), "--yes"));
  EXPECT_EQ(beta.action.perform(home.context()).error(), std::nullopt);
  EXPECT_EQ(readFile(hf + ".log"), "cache rm model/org/beta --cache-dir " + hub.cache.hub() + " --yes\n");

  const auto& corpus = itemWithId(*group, hub.corpus);
  EXPECT_EQ(corpus.restoreHint, "hf download org/corpus --repo-type dataset");
  EXPECT_THAT(corpus.detail, ::testing::HasSubstr("Dataset \u00b7 1 revision (main, v1.0)"));

  const auto& detached = itemWithId(*group, hub.snapshot(hub.alpha, hub.oldCommit));
  EXPECT_EQ(detached.name, "org/alpha @ " + hub.oldCommit.substr(0, 8));
  EXPECT_TRUE(detached.selected);
  EXPECT_EQ(detached.freeable, blocksOf(hub.blobPath(hub.alpha, hub.oldWeights)) +
                                   blocksOf(hub.snapshot(hub.alpha, hub.oldCommit) + "/model.safetensors") +
                                   blocksOf(hub.snapshot(hub.alpha, hub.oldCommit) + "/config.json"));
  EXPECT_EQ(detached.restoreHint, "hf download org/alpha --revision " + hub.oldCommit);

  const auto& unfinished = itemWithId(*group, hub.unfinished);
  EXPECT_TRUE(unfinished.selected);
  EXPECT_EQ(unfinished.freeable, blocksOf(hub.unfinished));

  // Used or written lately: offered, not pre-selected.
  setTimesAgo(hub.blobPath(hub.alpha, hub.oldWeights), std::chrono::hours(24 * 3));
  setTimesAgo(hub.unfinished, std::chrono::hours(1));
  const auto recent = huggingFaceGroup(hub.cache.hub(), std::nullopt, std::chrono::system_clock::now(), home.context());
  for (const auto& item : recent->items()) EXPECT_FALSE(item.selected) << item.name;
}

TEST(HuggingFaceRemoval, NoRemainingRevisionLosesAFileWhateverChangedSinceTheList) {
  FakeHome home;
  Hub hub(home / ".cache/huggingface/hub");
  const auto group = huggingFaceGroup(hub.cache.hub(), std::nullopt, std::chrono::system_clock::now(), home.context());
  const auto& detached = itemWithId(*group, hub.snapshot(hub.alpha, hub.oldCommit));
  const auto& alpha = itemWithId(*group, hub.alpha);

  // A revision downloaded after the list was made links to the old weights too.
  const std::string newCommit = fakeDigest("new", 9).substr(0, 40);
  hub.cache.revision(hub.alpha, newCommit, {{"model.safetensors", {hub.alpha, hub.oldWeights}}});
  hub.cache.ref(hub.alpha, "pr/7", newCommit);
  ASSERT_EQ(detached.action.perform(home.context()).error(), std::nullopt);
  EXPECT_FALSE(exists(hub.snapshot(hub.alpha, hub.oldCommit)));
  EXPECT_TRUE(exists(hub.blobPath(hub.alpha, hub.oldWeights)));
  EXPECT_THAT(brokenLinksBelow(hub.cache.hub()), IsEmpty());

  ASSERT_EQ(alpha.action.perform(home.context()).error(), std::nullopt);
  EXPECT_FALSE(exists(hub.alpha + "/snapshots"));
  EXPECT_FALSE(exists(hub.blobPath(hub.alpha, hub.weights)));
  EXPECT_TRUE(exists(hub.blobPath(hub.alpha, hub.tokenizer)));  // beta still links to it
  EXPECT_THAT(brokenLinksBelow(hub.cache.hub()), IsEmpty());
  EXPECT_EQ(alpha.action.perform(home.context()).error(), std::nullopt);  // again: nothing more to remove, no failure
  EXPECT_TRUE(exists(hub.blobPath(hub.alpha, hub.tokenizer)));
}

TEST(HuggingFaceRemoval, RemovingAWholeModelFreesWhatItsItemSaysToTheByte) {
  FakeHome home;
  std::string whyNot;
  const auto volume = LoopVolume::mount(LoopVolume::Kind::tmpfs, 64 << 20, whyNot, home.folder(".cache/huggingface"));
  if (!volume) GTEST_SKIP() << whyNot;
  const Hub hub(home / ".cache/huggingface/hub");
  const auto group = huggingFaceGroup(hub.cache.hub(), std::nullopt, std::chrono::system_clock::now(), home.context());
  for (const auto* id : {&hub.alpha, &hub.beta}) {
    const auto& model = itemWithId(*group, *id);
    const std::int64_t before = volume->freeBytes();
    ASSERT_EQ(model.action.perform(home.context()).error(), std::nullopt) << model.name;
    EXPECT_EQ(volume->freeBytes() - before, *model.freeable) << model.name;
    EXPECT_THAT(brokenLinksBelow(hub.cache.hub()), IsEmpty());
  }
}

TEST(HuggingFaceRemoval, ABlobStoreSharedByRepositoriesKeepsWhatAnyOtherStillLinksTo) {
  FakeHome home;
  HubCacheBuilder hub(home / "hub");
  const std::string store = home.folder("hub/shared-blobs");
  const std::string first = hub.repoFolder("model", "org/first");
  const std::string second = hub.repoFolder("model", "org/second");
  for (const auto& repo : {first, second}) {
    makeFolders(repo);
    std::filesystem::create_symlink("../shared-blobs", repo + "/blobs");
  }
  const std::string own = hub.blob(first, 300'000, 'f');
  const std::string both = hub.blob(first, 200'000, 'b');
  const std::string theirs = hub.blob(second, 100'000, 's');
  hub.revision(first, "c1", {{"model.bin", {first, own}}, {"vocab.txt", {first, both}}});
  hub.ref(first, "main", "c1");
  hub.revision(second, "c2", {{"model.bin", {second, theirs}}, {"vocab.txt", {second, both}}});
  hub.ref(second, "main", "c2");

  const auto cache = HfCache::read(hub.hub());
  EXPECT_EQ(cache.blobs().size(), 3u);  // one store, listed once
  EXPECT_THAT(cache.removalPaths(*cache.repoAt(first), {}, true),
              UnorderedElementsAre(first + "/snapshots", first + "/refs", first + "/.no_exist", store + "/" + own));

  const auto group = huggingFaceGroup(hub.hub(), std::nullopt, std::chrono::system_clock::now(), home.context());
  const auto& model = itemWithId(*group, first);
  EXPECT_EQ(model.freeable, blocksOf(store + "/" + own) + blocksOf(first + "/snapshots/c1/model.bin") +
                                blocksOf(first + "/snapshots/c1/vocab.txt") + blocksOf(first + "/refs/main"));
  ASSERT_EQ(model.action.perform(home.context()).error(), std::nullopt);
  EXPECT_FALSE(exists(store + "/" + own));
  EXPECT_TRUE(exists(store + "/" + both));
  EXPECT_TRUE(exists(store + "/" + theirs));
  EXPECT_THAT(brokenLinksBelow(second), IsEmpty());
}

TEST(HuggingFaceCache, OddEntriesNeitherCountNorHangNorLeakBytes) {
  FakeHome home;
  HubCacheBuilder cache(home / "hub");
  const std::string odd = cache.repoFolder("model", "org/caf\xe9");
  const std::string blob = cache.blob(odd, 4096, 'o');
  cache.revision(odd, "c1", {{"weights.bin", {odd, blob}}});
  std::filesystem::create_symlink("/etc/hostname", odd + "/snapshots/c1/outside");
  makeFolders(odd + "/refs");
  ASSERT_EQ(::mkfifo((odd + "/refs/main").c_str(), 0600), 0);  // a ref that would block a plain read
  writeFile(home / "hub/models--not-a-folder", "");
  makeFolders(home / "hub/models--");
  makeFolders(home / "hub/models--org--empty");

  const auto read = HfCache::read(home / "hub");
  ASSERT_EQ(read.repos().size(), 2u);
  const auto& repo = read.repos()[*read.repoAt(odd)];
  EXPECT_EQ(repo.id, "org/caf\xef\xbf\xbd");  // shown as valid UTF-8
  ASSERT_EQ(repo.revisions.size(), 1u);
  EXPECT_TRUE(read.revisions()[repo.revisions[0]].refs.empty());
  EXPECT_EQ(read.revisions()[repo.revisions[0]].blobs.size(), 1u);  // the link outside counts for nothing
  EXPECT_THAT(read.removalPaths(*read.repoAt(odd), {}, true), ElementsAre(odd));
  EXPECT_EQ(HfCache::read(home / "missing").repos().size(), 0u);
}

}  // namespace tw::test
