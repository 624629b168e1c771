#include "screens/sample_data.h"

#include <chrono>

#include "core/format.h"
#include "fs/path.h"

namespace tw {
namespace {

using Tone = Badge::Tone;
constexpr std::int64_t MB = 1'000'000;
constexpr std::int64_t GB = 1'000'000'000;

struct SampleItem {
  const char* relativePath;  // below the home folder
  const char* detail;
  std::int64_t size;
  std::int64_t freeable;
  std::vector<Badge> badges;
  bool selected;
};

struct SampleGroup {
  const char* id;
  const char* title;
  const char* subtitle;
  const char* icon;
  int idleDays;  // negative: no date
  std::vector<Badge> badges;
  std::vector<SampleItem> items;
};

DevGroupPtr build(const SampleGroup& sample, const std::string& home) {
  std::string subtitle = sample.subtitle;
  std::optional<Date> lastActive;
  if (sample.idleDays >= 0) {
    lastActive = std::chrono::system_clock::now() - std::chrono::hours{24 * sample.idleDays};
    subtitle += " · last active " + ago(*lastActive);
  }
  auto group = std::make_shared<DevGroup>(joinPath(home, sample.id), sample.title, subtitle, sample.icon);
  group->lastActive = lastActive;
  group->setBadges(sample.badges);
  std::vector<DevItem> items;
  for (const auto& sampleItem : sample.items) {
    DevItem item;
    item.id = joinPath(home, sampleItem.relativePath);
    item.name = lastPathComponent(sampleItem.relativePath);
    item.detail = sampleItem.detail;
    item.size = sampleItem.size;
    item.freeable = sampleItem.freeable;
    item.badges = sampleItem.badges;
    item.selected = sampleItem.selected;
    item.action = DevAction::custom([] { return std::optional<std::string>{}; });
    item.revealPath = item.id;
    items.push_back(std::move(item));
  }
  group->setItems(std::move(items));
  return group;
}

std::vector<SampleGroup> samplesFor(Pane pane) {
  const Badge idle{"untouched 30+ days", Tone::warn};
  switch (pane) {
    case Pane::projects:
      return {
          {"Developer/shop-web",
           "shop-web",
           "~/Developer/shop-web",
           "folder.badge.gearshape",
           74,
           {idle},
           {{"Developer/shop-web/node_modules",
             "Dependencies · reinstall with npm/yarn/pnpm/bun install",
             1'840 * MB,
             1'790 * MB,
             {},
             true},
            {"Developer/shop-web/.next",
             "Framework build cache · rebuilt on next dev/build",
             412 * MB,
             412 * MB,
             {},
             true}}},
          {"Developer/ferry",
           "ferry",
           "~/Developer/ferry",
           "folder.badge.gearshape",
           3,
           {},
           {{"Developer/ferry/target",
             "Rust/Maven build output · rebuilt on next build",
             6'210 * MB,
             6'150 * MB,
             {},
             false}}},
          {"Developer/ml-notebooks",
           "ml-notebooks",
           "~/Developer/ml-notebooks",
           "folder.badge.gearshape",
           41,
           {idle},
           {{"Developer/ml-notebooks/.venv",
             "Python virtualenv · recreate with uv sync / pip install",
             2'350 * MB,
             980 * MB,
             {{"mostly shared", Tone::info}},
             true},
            {"Developer/ml-notebooks/.pytest_cache", "Python tool cache", 3 * MB, 3 * MB, {}, true}}},
      };
    case Pane::worktrees:
      return {{"Developer/ferry",
               "ferry",
               "~/Developer/ferry · 2 worktrees",
               "arrow.triangle.branch",
               -1,
               {},
               {{"Developer/ferry-wt/agent-refactor",
                 "Last commit 12 days ago · ~/Developer/ferry-wt/agent-refactor",
                 1'120 * MB,
                 1'120 * MB,
                 {{"agent-refactor", Tone::info}, {"safe to remove", Tone::ok}},
                 true},
                {"Developer/ferry-wt/spike-cache",
                 "Last commit 2 hours ago · ~/Developer/ferry-wt/spike-cache",
                 890 * MB,
                 890 * MB,
                 {{"spike-cache", Tone::info}, {"4 uncommitted", Tone::warn}},
                 false}}}};
    case Pane::git:
      return {{"git-bloat",
               "Bloated Git Repositories",
               "Loose objects and leftovers that git gc packs or removes.",
               "arrow.triangle.branch",
               -1,
               {},
               {{"Developer/monorepo",
                 "~/Developer/monorepo · 48210 loose objects (1.21 GB) · savings are an estimate",
                 3'400 * MB,
                 1'210 * MB,
                 {{"1.21 GB loose", Tone::warn}, {"large .git", Tone::info}},
                 true},
                {"Developer/ferry",
                 "~/Developer/ferry · 3120 loose objects (84 MB) · savings are an estimate",
                 410 * MB,
                 84 * MB,
                 {{"84 MB loose", Tone::warn}},
                 false}}}};
    case Pane::dedupe:
      return {
          {"Developer/shop-web/assets/hero.mp4",
           "hero.mp4",
           "~/Developer/shop-web/assets/hero.mp4",
           "square.on.square",
           -1,
           {},
           {{"Developer/shop-admin/assets/hero.mp4", "Shares data with the kept copy", 96 * MB, 96 * MB, {}, true},
            {"Developer/shop-legacy/public/hero.mp4", "Shares data with the kept copy", 96 * MB, 96 * MB, {}, true}}}};
    case Pane::simulators:
      return {
          {"simulators",
           "iOS Simulators",
           "4 devices",
           "iphone",
           -1,
           {},
           {{"Library/Developer/CoreSimulator/Devices/iPhone 12",
             "iOS 15.5 · unavailable runtime",
             4'800 * MB,
             4'800 * MB,
             {{"unavailable", Tone::warn}},
             true},
            {"Library/Developer/CoreSimulator/Devices/iPhone 16 Pro", "iOS 18.2", 3'100 * MB, 3'100 * MB, {}, false}}}};
    case Pane::toolchains:
      return {
          {"node",
           "Node.js",
           "3 versions",
           "wrench.and.screwdriver",
           -1,
           {},
           {{".nvm/versions/node/v16.20.2", "Not used for 9 months", 210 * MB, 210 * MB, {{"old", Tone::warn}}, true},
            {".nvm/versions/node/v22.11.0", "Default version", 230 * MB, 230 * MB, {{"in use", Tone::ok}}, false}}}};
    case Pane::ide:
      return {{"jetbrains",
               "JetBrains",
               "Old IDE versions",
               "chevron.left.forwardslash.chevron.right",
               -1,
               {},
               {{"Library/Caches/JetBrains/IntelliJIdea2022.3",
                 "Superseded by 2024.3",
                 1'450 * MB,
                 1'450 * MB,
                 {},
                 true}}}};
    case Pane::docker:
      return {{"docker-images",
               "Images",
               "12 images, 3 in use",
               "shippingbox",
               -1,
               {},
               {{"docker/postgres:13", "Not used by any container", 380 * MB, 380 * MB, {}, true},
                {"docker/node:18", "Used by 1 container", 1'100 * MB, 1'100 * MB, {{"in use", Tone::info}}, false}}}};
    case Pane::ai:
      return {{"huggingface",
               "Hugging Face",
               "~/.cache/huggingface",
               "brain",
               55,
               {idle},
               {{".cache/huggingface/hub/models--mistral-7b",
                 "Last used 2 months ago",
                 14'500 * MB,
                 14'500 * MB,
                 {},
                 false}}}};
    case Pane::large:
      return {
          {"downloads",
           "Old Downloads",
           "Not opened in 6 months",
           "doc.badge.clock",
           -1,
           {},
           {{"Downloads/ubuntu-22.04-desktop-amd64.iso", "Opened 8 months ago", 4'700 * MB, 4'700 * MB, {}, true}}}};
    case Pane::apps:
      return {{"leftovers",
               "Leftovers of deleted apps",
               "2 apps",
               "xmark.app",
               -1,
               {},
               {{"Library/Application Support/OldEditor", "App removed", 640 * MB, 640 * MB, {}, true}}}};
    case Pane::system:
      return {{"backups",
               "Device Backups",
               "1 backup",
               "internaldrive",
               -1,
               {},
               {{"Library/Application Support/MobileSync/Backup/00008030",
                 "iPhone · 14 months old",
                 38 * GB,
                 38 * GB,
                 {{"old", Tone::warn}},
                 false}}}};
    case Pane::clean:
      return {{"caches",
               "User Cache Files",
               "App caches. Apps rebuild them when needed.",
               "archivebox",
               -1,
               {},
               {{".cache/pip", "Rebuilt automatically by the app that made it", 912 * MB, 912 * MB, {}, true},
                {".cache/yarn", "Rebuilt automatically by the app that made it", 1'320 * MB, 1'320 * MB, {}, true}}}};
    case Pane::overview:
    case Pane::lens:
    case Pane::trash:
    case Pane::history:
      return {};
  }
  return {};
}

}  // namespace

Provider SampleData::provider(Pane pane) {
  return [pane](const Context& context) {
    ProviderResult result;
    for (const auto& sample : samplesFor(pane)) result.groups.push_back(build(sample, context.home));
    return result;
  };
}

}  // namespace tw
