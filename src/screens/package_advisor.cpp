#include "screens/package_advisor.h"

#include <algorithm>
#include <set>
#include <tuple>

#include "core/concurrent.h"
#include "core/format.h"
#include "core/measure.h"
#include "fs/file_io.h"
#include "fs/path.h"
#include "fs/usage.h"
#include "screens/dev_tool_actions.h"
#include "screens/projects.h"

namespace tw {
namespace {

enum class Family { javascript, python, other };

struct LockFile {
  std::string name;
  std::string manager;
  Family family;
};

// In the order they are looked for: a pnpm or Bun lock wins over a stray package-lock.
const std::vector<LockFile>& lockFiles() {
  static const std::vector<LockFile> files{
      {"pnpm-lock.yaml", "pnpm", Family::other},
      {"bun.lockb", "Bun", Family::other},
      {"bun.lock", "Bun", Family::other},
      {"yarn.lock", "Yarn", Family::javascript},
      {"package-lock.json", "npm", Family::javascript},
      {"npm-shrinkwrap.json", "npm", Family::javascript},
      {"uv.lock", "uv", Family::other},
      {"poetry.lock", "Poetry", Family::python},
      {"Pipfile.lock", "Pipenv", Family::python},
      {"pdm.lock", "PDM", Family::python},
      {"Cargo.lock", "Cargo", Family::other},
      {"Gemfile.lock", "Bundler", Family::other},
      {"composer.lock", "Composer", Family::other},
      {"go.sum", "Go modules", Family::other},
      {"pubspec.lock", "pub", Family::other},
      {"Podfile.lock", "CocoaPods", Family::other},
      {"package.json", "npm", Family::javascript},
      {"requirements.txt", "pip", Family::python},
      {"pyproject.toml", "pip", Family::python},
  };
  return files;
}

// The folders each kind of project installs its dependencies into.
std::vector<std::string> dependencyFolders(const std::string& project, const LockFile& lock) {
  std::vector<std::string> candidates;
  if (lock.family == Family::javascript || lock.manager == "pnpm" || lock.manager == "Bun") {
    candidates = {"node_modules"};
  } else if (lock.family == Family::python || lock.manager == "uv") {
    candidates = {".venv", "venv"};
  } else if (lock.manager == "Bundler") {
    candidates = {"vendor/bundle"};
  } else if (lock.manager == "Composer") {
    candidates = {"vendor"};
  } else if (lock.manager == "CocoaPods") {
    candidates = {"Pods"};
  }
  std::vector<std::string> found;
  for (const auto& name : candidates) {
    if (isFolder(joinPath(project, name))) found.push_back(joinPath(project, name));
  }
  return found;
}

struct Found {
  PackageAdvisor::Project project;
  Family family = Family::other;
};

std::optional<Found> classify(const std::string& path) {
  const auto entries = listFolder(path);
  if (!entries) return std::nullopt;
  std::set<std::string> names;
  for (const auto& entry : *entries) names.insert(entry.name);
  for (const auto& lock : lockFiles()) {
    if (!names.contains(lock.name)) continue;
    const bool manifestOnly =
        lock.name == "package.json" || lock.name == "requirements.txt" || lock.name == "pyproject.toml";
    Found found{{path, lock.manager, manifestOnly ? "" : lock.name, dependencyFolders(path, lock), 0, 0}, lock.family};
    return found;
  }
  return std::nullopt;
}

std::string managerList(const std::vector<const Found*>& projects) {
  std::vector<std::string> names;
  for (const auto* found : projects) {
    if (std::find(names.begin(), names.end(), found->project.manager) == names.end()) {
      names.push_back(found->project.manager);
    }
  }
  std::string text;
  for (std::size_t i = 0; i < names.size(); ++i) {
    text += (i == 0 ? "" : i + 1 == names.size() ? " and " : ", ") + names[i];
  }
  return text;
}

std::optional<PackageAdvisor::Advice> adviceFor(const std::vector<Found>& all, Family family, std::int64_t worthwhile) {
  std::vector<const Found*> projects;
  std::int64_t freeable = 0;
  for (const auto& found : all) {
    if (found.family != family || found.project.freeable <= 0) continue;
    projects.push_back(&found);
    freeable += found.project.freeable;
  }
  if (projects.size() < 2 || freeable < worthwhile) return std::nullopt;
  PackageAdvisor::Advice advice;
  for (const auto* found : projects) advice.projects.push_back(found->project.path);
  advice.freeable = freeable;
  const std::string count = std::to_string(projects.size()) + " " + managerList(projects) + " projects";
  const std::string size = byteFormatter(freeable);
  advice.text = family == Family::javascript
                    ? "These " + count + " hold " + size +
                          " of dependencies that pnpm or Bun would keep once, in a hard-linked store on the same file "
                          "system."
                    : "These " + count + " hold " + size +
                          " in virtualenvs that uv would keep once, in a hard-linked cache on the same file system.";
  return advice;
}

std::vector<DevItem> storeItems(const DevToolTables& tables, const DevToolsInput& input) {
  std::vector<std::string> folders;
  std::vector<const PackageStore*> stores;
  for (const auto& store : tables.packageStores) {
    const auto folder = input.locate(store.places);
    if (!folder || !isFolder(*folder)) continue;
    folders.push_back(*folder);
    stores.push_back(&store);
  }
  const auto usages = measure(folders, input.context.stop);
  std::vector<DevItem> items;
  for (std::size_t i = 0; i < stores.size(); ++i) {
    const auto& store = *stores[i];
    const Usage usage = usages.at(folders[i]);
    DevItem item;
    item.id = folders[i];
    item.name = store.title;
    item.size = usage.size;
    item.freeable = usage.freeable;
    item.revealPath = folders[i];
    item.action = toolOrTrash(store.prune, input, {}, {folders[i]});
    const bool pruned = std::holds_alternative<DevAction::Commands>(item.action.value);
    item.detail = tildePath(folders[i], input.home()) + " \u00b7 " +
                  (pruned ? "pruned with `" + commandText(store.prune, {}) + "`"
                          : store.prune.tool + " isn't installed; moving the store to the Trash frees all of it");
    items.push_back(std::move(item));
  }
  std::stable_sort(items.begin(), items.end(),
                   [](const DevItem& a, const DevItem& b) { return a.freeable.value_or(0) > b.freeable.value_or(0); });
  return items;
}

}  // namespace

PackageAdvisor::Report PackageAdvisor::advise(const DevToolsInput& input, const DevToolTables& tables,
                                              std::int64_t worthwhile) {
  const auto paths = Projects::discover(input.projectRoots, input.context.stop, input.context.home);
  std::vector<std::optional<Found>> classified(paths.size());
  concurrentPerform(
      paths.size(), [&](std::size_t index) { classified[index] = classify(paths[index]); }, input.context.stop);
  std::vector<Found> found;
  std::vector<std::vector<std::string>> folders;
  for (auto& entry : classified) {
    if (!entry) continue;
    folders.push_back(entry->project.dependencyFolders);
    found.push_back(std::move(*entry));
  }
  const auto usages = measure(folders, input.context.stop);
  for (std::size_t i = 0; i < found.size(); ++i) {
    found[i].project.size = usages[i].size;
    found[i].project.freeable = usages[i].freeable;
  }
  // Largest freeable first; ties by size, then by path, so the order never depends on listing order.
  std::sort(found.begin(), found.end(), [](const Found& a, const Found& b) {
    return std::tie(b.project.freeable, b.project.size, a.project.path) <
           std::tie(a.project.freeable, a.project.size, b.project.path);
  });

  Report report;
  for (const auto family : {Family::javascript, Family::python}) {
    if (auto advice = adviceFor(found, family, worthwhile)) report.advice.push_back(std::move(*advice));
  }
  for (auto& entry : found) report.projects.push_back(std::move(entry.project));
  report.stores = storeItems(tables, input);
  if (report.projects.empty()) report.note = "No projects found. Add the folders where you keep your code.";
  return report;
}

PackageAdvisor::Report PackageAdvisor::load(const Context& context) {
  return advise(DevToolsInput::from(context), platformDevToolTables());
}

}  // namespace tw
