#include "screens/registry.h"

#include <cstdio>
#include <cstdlib>

#include "core/platform_words.h"
#include "dedupe/dedupe.h"
#include "screens/ai_models.h"
#include "screens/docker.h"
#include "screens/git_repos.h"
#include "screens/ide_leftovers.h"
#include "screens/large_files.h"
#include "screens/projects.h"
#include "screens/sample_data.h"
#include "screens/simulators.h"
#include "screens/smart_clean.h"
#include "screens/system_data.h"
#include "screens/toolchains.h"
#include "screens/uninstaller.h"
#include "screens/worktrees.h"

namespace tw {
namespace {

struct PaneName {
  Pane pane;
  std::string_view raw;
};

constexpr PaneName paneNames[] = {
    {Pane::overview, "overview"}, {Pane::clean, "clean"},           {Pane::lens, "lens"},
    {Pane::trash, "trash"},       {Pane::large, "large"},           {Pane::apps, "apps"},
    {Pane::system, "system"},     {Pane::projects, "projects"},     {Pane::worktrees, "worktrees"},
    {Pane::git, "git"},           {Pane::simulators, "simulators"}, {Pane::toolchains, "toolchains"},
    {Pane::ide, "ide"},           {Pane::docker, "docker"},         {Pane::ai, "ai"},
    {Pane::dedupe, "dedupe"},     {Pane::history, "history"},
};

std::vector<DevScreen> makeCleanup() {
  using Bar = DevScreen::Bar;
  return {
      {Pane::clean, "Smart Clean", "wind",
       "Caches, logs, Xcode and package-manager leftovers, and your Trash. Apps rebuild everything here on "
       "their own.",
       "Clean", Bar::none, true, [](const Context& context) { return SmartClean::load(context); }},
      {Pane::large, "Large & Old Files", "doc.badge.clock",
       "Big files, downloads you haven't touched in months, old screenshots and recordings, app builds and "
       "Mail downloads. Everything goes to the Trash, so you can change your mind.",
       "Move to Trash", Bar::none, false, [](const Context& context) { return LargeFiles::load(context); }},
      {Pane::apps, "Uninstaller", "xmark.app",
       "Remove apps together with the settings, caches and containers they leave in your Library, and clean "
       "up after apps you already deleted.",
       "Uninstall Selected", Bar::none, false, [](const Context& context) { return Uninstaller::load(context); }},
      {Pane::system, "System Data", "internaldrive", platformWords().systemDataBlurb, "Remove Selected", Bar::none,
       true, [](const Context& context) { return SystemData::load(context); }},
  };
}

std::vector<DevScreen> makeDeveloper() {
  using Bar = DevScreen::Bar;
  return {
      {Pane::projects, "Projects", "folder.badge.gearshape",
       "Finds node_modules, build folders, Pods, virtualenvs and other rebuildable leftovers in your code "
       "projects, so you can clear out the ones you're not working on.",
       "Delete Leftovers", Bar::rootsAdvisor, true, [](const Context& context) { return Projects::load(context); }},
      {Pane::worktrees, "Worktrees", "arrow.triangle.branch",
       "Lists the git worktrees in your repositories (including ones made by AI coding agents), flags "
       "uncommitted or unpushed work, and removes them with git so the repo stays consistent.",
       "Remove Worktrees", Bar::rootsNoFilter, true, [](const Context& context) { return Worktrees::load(context); }},
      {Pane::simulators, "Simulators", "iphone",
       "iOS simulators and runtimes, Android emulators and system images. Removed through Xcode's own tools "
       "so nothing is left broken.",
       "Remove Selected", Bar::none, true, [](const Context& context) { return Simulators::load(context); }},
      {Pane::toolchains, "Toolchains", "wrench.and.screwdriver",
       "Old Node, Python, Ruby, Rust, Flutter, Java and Go versions, Android NDKs, Xcode archives and "
       "Homebrew leftovers.",
       "Remove Selected", Bar::none, true, [](const Context& context) { return Toolchains::load(context); }},
      {Pane::ide, "IDE Leftovers", "chevron.left.forwardslash.chevron.right",
       "Old JetBrains and Android Studio versions, outdated VS Code and Cursor extensions, editor data for "
       "deleted projects, and old Gradle versions.",
       "Remove Selected", Bar::none, true, [](const Context& context) { return IDELeftovers::load(context); }},
      {Pane::docker, "Docker", "shippingbox",
       "Images, volumes and build cache, with what's in use, plus the VM disk that never shrinks on its "
       "own. Works with Docker Desktop, Colima and OrbStack.",
       "Remove Selected", Bar::none, true, [](const Context& context) { return DockerDeep::load(context); }},
      {Pane::git, "Git Repos", "externaldrive.badge.timemachine",
       "Repositories with lots of loose objects, garbage or Git LFS cache. Compacted with git's own gc, so "
       "nothing you need is lost.",
       "Compact Selected", Bar::rootsNoFilter, true, [](const Context& context) { return GitRepos::load(context); }},
      {Pane::ai, "AI Models", "brain",
       "Local models from Hugging Face, Ollama, LM Studio, PyTorch, Whisper and GPT4All, with when each was "
       "last used.",
       "Delete Models", Bar::none, true, [](const Context& context) { return AIModels::scan(context); }},
      {Pane::dedupe, "Clone Dedupe", "square.on.square",
       "Finds identical files across your projects, worktrees and node_modules and turns the copies into " +
           platformWords().cloneTarget +
           ". Every file stays where it is and nothing is deleted; the copies just stop taking extra space.",
       "Clone Duplicates", Bar::rootsNoFilter, false, [](const Context& context) { return Dedupe::load(context); }},
  };
}

}  // namespace

const std::vector<Pane>& allPanes() {
  static const std::vector<Pane> panes = [] {
    std::vector<Pane> list;
    for (const auto& entry : paneNames) list.push_back(entry.pane);
    return list;
  }();
  return panes;
}

std::string_view rawValue(Pane pane) {
  for (const auto& entry : paneNames) {
    if (entry.pane == pane) return entry.raw;
  }
  return {};
}

std::optional<Pane> paneNamed(std::string_view raw) {
  for (const auto& entry : paneNames) {
    if (entry.raw == raw) return entry.pane;
  }
  return std::nullopt;
}

const std::vector<DevScreen>& Screens::cleanup() {
  static const std::vector<DevScreen> screens = makeCleanup();
  return screens;
}

const std::vector<DevScreen>& Screens::developer() {
  static const std::vector<DevScreen> screens = makeDeveloper();
  return screens;
}

std::vector<DevScreen> Screens::all() {
  std::vector<DevScreen> screens = cleanup();
  screens.insert(screens.end(), developer().begin(), developer().end());
  return screens;
}

const DevScreen* Screens::screen(Pane pane) {
  for (const auto* table : {&cleanup(), &developer()}) {
    for (const auto& screen : *table) {
      if (screen.pane == pane) return &screen;
    }
  }
  return nullptr;
}

Provider Screens::effectiveProvider(const DevScreen& screen) {
  return [provider = screen.provider, sample = SampleData::provider(screen.pane)](const Context& context) {
    return context.sampleData ? sample(context) : provider(context);
  };
}

std::map<Pane, std::shared_ptr<DevPane>> Screens::makePanes(const Dispatcher& dispatcher, const Context& context) {
  std::map<Pane, std::shared_ptr<DevPane>> panes;
  for (const auto& screen : all()) {
    auto pane = DevPane::make(effectiveProvider(screen), std::string(rawValue(screen.pane)), dispatcher, context);
    if (!panes.emplace(screen.pane, std::move(pane)).second) {
      std::fprintf(stderr, "tidewarden: two screens share the pane %s\n", std::string(rawValue(screen.pane)).c_str());
      std::abort();
    }
  }
  return panes;
}

}  // namespace tw
